#include "tests/level3/reference.h"

#include <cmath>

namespace level3_test {
namespace {

// out(i, j) = sum over p of a(i, p) * b(p, j); rows of A and columns of B are contiguous. Four rows
// at a time, since one sum alone would wait for itself.
template <class Sum>
void dots(std::size_t m, std::size_t n, std::size_t k, const double* a, const double* b, Sum* out) {
  for (std::size_t j = 0; j < n; j++, b += k) {
    std::size_t i = 0;
    for (; i + 4 <= m; i += 4) {
      const double *a0 = a + i * k, *a1 = a0 + k, *a2 = a1 + k, *a3 = a2 + k;
      Sum s0 = 0, s1 = 0, s2 = 0, s3 = 0;
      for (std::size_t p = 0; p < k; p++) {
        const Sum value = b[p];
        s0 += a0[p] * value;
        s1 += a1[p] * value;
        s2 += a2[p] * value;
        s3 += a3[p] * value;
      }
      *out++ = s0;
      *out++ = s1;
      *out++ = s2;
      *out++ = s3;
    }
    for (; i < m; i++) {
      Sum sum = 0;
      for (std::size_t p = 0; p < k; p++) sum += static_cast<Sum>(a[i * k + p]) * b[p];
      *out++ = sum;
    }
  }
}

std::vector<double> sizes_of(const Elements& x) {
  std::vector<double> result(x.count());
  for (std::size_t i = 0; i < result.size(); i++) {
    result[i] = std::fabs(x.re()[i]) + (x.is_complex() ? std::fabs(x.im()[i]) : 0.0);
  }
  return result;
}

}  // namespace

void Elements::fill(const std::vector<double>& period, std::size_t start) {
  std::size_t at = start % period.size();
  for (std::vector<double>* part : {&re_, &im_}) {
    for (double& element : *part) {
      element = period[at];
      if (++at == period.size()) at = 0;
    }
  }
}

const std::vector<double>& values(Data data, bool single) {
  // A prime period: columns of any length differ.
  const auto make = [](const auto& value) {
    std::vector<double> result;
    std::uint64_t state = 0x9e3779b97f4a7c15u;
    for (int i = 0; i < 8191; i++) {
      state ^= state << 13;
      state ^= state >> 7;
      state ^= state << 17;
      const double sign = (state & 1) != 0 ? -1 : 1;
      result.push_back(sign * value(state * 0x2545f4914f6cdd1dULL));
    }
    return result;
  };
  // 0.5 ... 4
  const auto full = [](std::uint64_t bits) {
    return std::ldexp(1 + static_cast<double>(bits >> 12) * 0x1p-52,
                      static_cast<int>(bits & 3) - 1) *
           0.5;
  };
  static const std::vector<double> integers =
      make([](std::uint64_t bits) { return static_cast<double>((bits >> 40) % 3 + 1); });
  static const std::vector<double> in_double = make(full);
  static const std::vector<double> in_single =
      make([&](std::uint64_t bits) { return static_cast<double>(static_cast<float>(full(bits))); });
  if (data == Data::integers) return integers;
  return single ? in_single : in_double;
}

template <class Sum>
ProductSums<Sum>::ProductSums(const Elements& a, const Elements& b)
    : rows_(static_cast<std::size_t>(a.rows())), complex_(a.is_complex()) {
  const auto n = static_cast<std::size_t>(b.columns());
  const auto k = static_cast<std::size_t>(a.columns());
  sizes_.resize(rows_ * n);
  dots(rows_, n, k, sizes_of(a).data(), sizes_of(b).data(), sizes_.data());
  parts_.resize(rows_ * n * (complex_ ? 2 : 1));
  if (!complex_) {
    dots(rows_, n, k, a.re(), b.re(), parts_.data());
    return;
  }
  // A complex product is a real one: rows (re, -im) and (im, re) times columns (re, im).
  std::vector<double> left(4 * rows_ * k), right(2 * n * k);
  for (std::size_t i = 0; i < rows_; i++) {
    for (std::size_t p = 0; p < k; p++) {
      const double re = a.re()[i * k + p], im = a.im()[i * k + p];
      left[2 * i * k + p] = re;
      left[(2 * i + 1) * k + p] = -im;
      left[2 * (rows_ + i) * k + p] = im;
      left[(2 * (rows_ + i) + 1) * k + p] = re;
    }
  }
  for (std::size_t j = 0; j < n; j++) {
    for (std::size_t p = 0; p < k; p++) {
      right[2 * j * k + p] = b.re()[j * k + p];
      right[(2 * j + 1) * k + p] = b.im()[j * k + p];
    }
  }
  dots(2 * rows_, n, 2 * k, left.data(), right.data(), parts_.data());
}

template <class Sum>
ElementSum<Sum>::ElementSum(const Elements& a, const Elements& b, int i, int j) {
  for (int p = 0; p < a.columns(); p++) {
    const Value x = a.at(i, p), y = b.at(p, j);
    re += static_cast<Sum>(x.re) * y.re - static_cast<Sum>(x.im) * y.im;
    im += static_cast<Sum>(x.re) * y.im + static_cast<Sum>(x.im) * y.re;
    size += x.size() * y.size();
  }
}

template class ProductSums<double>;
template class ProductSums<long double>;
template struct ElementSum<double>;
template struct ElementSum<long double>;

Projection project(const Elements& x, const Projection& vector) {
  const auto rows = static_cast<std::size_t>(x.rows());
  Projection result = {std::vector<double>(rows), std::vector<double>(rows)};
  const auto add = [&](const double* part, const std::vector<double>& factors, double sign,
                       std::vector<double>& to) {
    if (x.row_step() == 1) {
      for (const double factor : factors) {
        for (std::size_t i = 0; i < rows; i++) to[i] += sign * factor * part[i];
        part += rows;
      }
    } else {
      for (std::size_t i = 0; i < rows; i++) {
        double sum = 0;
        for (const double factor : factors) sum += factor * *part++;
        to[i] += sign * sum;
      }
    }
  };
  add(x.re(), vector.re, 1, result.re);
  if (x.is_complex()) {
    add(x.im(), vector.im, -1, result.re);
    add(x.re(), vector.im, 1, result.im);
    add(x.im(), vector.re, 1, result.im);
  }
  return result;
}

Projection weights(int count) {
  Projection result;
  for (int i = 0; i < count; i++) {
    result.re.push_back(static_cast<double>(1 + (i * 37 + i / 61) % 61));
    result.im.push_back(0);
  }
  return result;
}

}  // namespace level3_test
