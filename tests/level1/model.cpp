#include "tests/level1/model.h"

#include <cstdint>
#include <cstring>

#include "tests/level1/fused.h"

namespace level1_test {
namespace {

double get(const void* base, long long index) {
  double value;
  std::memcpy(&value, static_cast<const char*>(base) + index * 8, sizeof value);
  return value;
}

void put(void* base, long long index, double value) {
  std::memcpy(static_cast<char*>(base) + index * 8, &value, sizeof value);
}

unsigned address(const void* p) {
  return static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(p));
}

// Index in memory of the logical element i.
long long walk(int n, int inc, int i) {
  const long long start = inc < 0 ? static_cast<long long>(1 - n) * inc : 0;
  return start + static_cast<long long>(i) * inc;
}

// Four accumulators of up to eight lanes, all +0 at first.
class Accumulators {
 public:
  Accumulators(int lanes, bool fuse) : lanes_(lanes), fuse_(fuse) {}

  void add(int accumulator, int lane, double x, double y) {
    double& a = value_[accumulator][lane];
    a = fuse_ ? fused(x, y, a) : a + x * y;
  }

  // (a0 + a1) + (a2 + a3), then the register's halves onto each other.
  double reduce() const {
    double sum[8];
    for (int lane = 0; lane < lanes_; lane++) {
      const double low = value_[0][lane] + value_[1][lane];
      const double high = value_[2][lane] + value_[3][lane];
      sum[lane] = low + high;
    }
    for (int width = lanes_ / 2; width >= 1; width /= 2) {
      for (int lane = 0; lane < width; lane++) sum[lane] = sum[lane] + sum[lane + width];
    }
    return sum[0];
  }

 private:
  int lanes_;
  bool fuse_;
  double value_[4][8] = {};
};

struct Operands {
  int n;
  const double* x;
  int incx;
  const double* y;
  int incy;

  double x_at(int i) const { return get(x, walk(n, incx, i)); }
  double y_at(int i) const { return get(y, walk(n, incy, i)); }
};

// `count` products from element i on: lane after lane, accumulator after accumulator.
int block(Accumulators& a, const Operands& v, int i, int count, int lanes) {
  for (int k = 0; k < count; k++) a.add((k / lanes) % 4, k % lanes, v.x_at(i + k), v.y_at(i + k));
  return i + count;
}

double dot_one_by_one(const Operands& v) {
  double sum = 0;
  for (int i = 0; i < v.n; i++) sum = sum + v.x_at(i) * v.y_at(i);
  return sum;
}

// 16, 8, 4, 2 with two lanes; the last one into lane 0 of accumulator 0.
double dot_sixteens(const Operands& v, int first) {
  Accumulators a(2, false);
  int i = 0;
  if (first == 1) {
    a.add(0, 0, v.x_at(0), v.y_at(0));
    i = 1;
  }
  while (v.n - i >= 16) i = block(a, v, i, 16, 2);
  for (const int size : {8, 4, 2}) {
    if (v.n - i >= size) i = block(a, v, i, size, 2);
  }
  if (i < v.n) a.add(0, 0, v.x_at(i), v.y_at(i));
  return a.reduce();
}

Operands forward(Operands v) {
  v.incx = 1;
  v.incy = 1;
  return v;
}

bool one_or_minus_one(const Operands& v) {
  return (v.incx == 1 && v.incy == 1) || (v.incx == -1 && v.incy == -1);
}

double dot_p4(const Operands& v) {
  if (one_or_minus_one(v)) {
    if (address(v.x) % 16 == 0 && address(v.y) % 16 == 0) return dot_sixteens(forward(v), 0);
    if (address(v.x) % 16 == 8 && address(v.y) % 16 == 8) return dot_sixteens(forward(v), 1);
  }
  return dot_one_by_one(v);
}

double dot_cnr(const Operands& v) {
  return one_or_minus_one(v) ? dot_sixteens(forward(v), 0) : dot_one_by_one(v);
}

// Blocks of `size` in two lanes, pairs, reduction; then `extra`; then the last one.
double dot_pairs(const Operands& v, int i, int size, double extra, bool fuse) {
  Accumulators a(2, fuse);
  while (v.n - i >= size) i = block(a, v, i, size, 2);
  while (v.n - i >= 2) i = block(a, v, i, 2, 2);
  double sum = a.reduce() + extra;
  if (i < v.n) sum = fuse ? fused(v.x_at(i), v.y_at(i), sum) : sum + v.x_at(i) * v.y_at(i);
  return sum;
}

bool unit(const Operands& v) { return v.incx == 1 && v.incy == 1; }

double dot_p4m(const Operands& v) {
  if (!unit(v)) return dot_pairs(v, 0, 8, 0.0, false);
  const bool eight = address(v.x) % 8 == 0 && address(v.y) % 8 == 0;
  if (eight && address(v.y) % 16 == 8) {
    return dot_pairs(v, 1, 32, v.x_at(0) * v.y_at(0), false);
  }
  return dot_pairs(v, 0, 32, 0.0, false);
}

double dot_128(const Operands& v) { return dot_pairs(v, 0, unit(v) ? 32 : 8, 0.0, false); }

double dot_avx2(const Operands& v) {
  if (!unit(v)) return dot_pairs(v, 0, 8, 0.0, true);
  Accumulators a(4, true);
  int i = 0;
  while (v.n - i >= 16) i = block(a, v, i, 16, 4);
  double sum = a.reduce();
  // The sum so far seeds lane 0 of one register, which takes four products per pass.
  double lane[4] = {sum, 0, 0, 0};
  for (; v.n - i >= 4; i += 4) {
    for (int k = 0; k < 4; k++) lane[k] = fused(v.x_at(i + k), v.y_at(i + k), lane[k]);
  }
  sum = (lane[0] + lane[2]) + (lane[1] + lane[3]);
  for (; i < v.n; i++) sum = fused(v.x_at(i), v.y_at(i), sum);
  return sum;
}

double dot_avx512(const Operands& v) {
  Accumulators a(8, true);
  int i = 0;
  if (unit(v)) {
    while (v.n - i >= 32) i = block(a, v, i, 32, 8);
  }
  while (v.n - i >= 16) i = block(a, v, i, 16, 8);
  if (v.n - i >= 8) i = block(a, v, i, 8, 8);
  block(a, v, i, v.n - i, 8);
  return a.reduce();
}

bool has_fma(Level level) { return level == Level::avx2 || level == Level::avx512; }

double product_sum(bool fuse, double x, double y, double sum) {
  return fuse ? fused(x, y, sum) : x * y + sum;
}

}  // namespace

double model_ddot(Level level, int n, const double* x, int incx, const double* y, int incy) {
  if (n <= 0) return 0.0;
  const Operands v{n, x, incx, y, incy};
  switch (level) {
    case Level::p4:
      return dot_p4(v);
    case Level::cnr:
      return dot_cnr(v);
    case Level::p4m:
      return dot_p4m(v);
    case Level::p4m3:
    case Level::avx:
      return dot_128(v);
    case Level::avx2:
      return dot_avx2(v);
    case Level::avx512:
      return dot_avx512(v);
  }
  return 0.0;
}

void model_daxpy(Level level, int n, double a, const double* x, int incx, double* y, int incy) {
  for (int i = 0; i < n; i++) {
    const long long at = walk(n, incy, i);
    put(y, at, product_sum(has_fma(level), a, get(x, walk(n, incx, i)), get(y, at)));
  }
}

void model_zaxpy(Level level, int n, complex_double alpha, const complex_double* x, int incx,
                 complex_double* y, int incy) {
  const bool fuse = has_fma(level);
  const double ar = alpha.real;
  const double ai = alpha.imag;
  const bool is_one = ar == 1 && ai == 0;
  const bool product_first = incx == 1 && incy == 1 && !(level == Level::avx512 && n < 4);
  for (int i = 0; i < n; i++) {
    const long long from = 2 * walk(n, incx, i);
    const long long to = 2 * walk(n, incy, i);
    const double xr = get(x, from);
    const double xi = get(x, from + 1);
    double yr = get(y, to);
    double yi = get(y, to + 1);
    if (is_one) {
      yr = xr + yr;
      yi = xi + yi;
    } else if (product_first) {
      const double tr = xi * ai;
      const double ti = xi * ar;
      const double pr = fuse ? fused(xr, ar, -tr) : xr * ar - tr;
      const double pi = fuse ? fused(xr, ai, ti) : xr * ai + ti;
      yr = pr + yr;
      yi = pi + yi;
    } else {
      yr = product_sum(fuse, xr, ar, yr);
      yi = product_sum(fuse, xi, ar, yi);
      yr = product_sum(fuse, -xi, ai, yr);
      yi = product_sum(fuse, xr, ai, yi);
    }
    put(y, to, yr);
    put(y, to + 1, yi);
  }
}

}  // namespace level1_test
