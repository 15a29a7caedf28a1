// Every export, called as a careless caller does: from a stack that is aligned to four bytes and no
// more, with the x87 unit at another precision and with other modes of the vector unit.
//
// All values are small integers, so that every order of summation and every rounding gives the same
// exact result.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "qsl/qsl.h"

namespace {

// A call and what it left behind. The assembly below knows the layout.
struct Call {
  const void* function;
  const std::uint32_t* words;  // the arguments as they lie on the stack
  std::uint32_t count;         // at most 32
  std::uint32_t offset;        // the stack pointer at the call instruction, modulo 16
  std::uint32_t returns_double;
  std::uint32_t stack;  // the caller's stack pointer, kept over the call
  std::uint32_t eax, edx, ebx, esi, edi, ebp, flags;
  std::uint32_t padding;
  double result;
  std::uint32_t x87[7];  // fnstenv
};
static_assert(offsetof(Call, eax) == 24 && offsetof(Call, result) == 56 &&
              offsetof(Call, x87) == 64);

#if defined(__ELF__)
#define SYMBOL "call_from_stack"
#else
#define SYMBOL "_call_from_stack"
#endif

extern "C" void call_from_stack(Call* call);

asm(".text\n"
    ".globl " SYMBOL "\n" SYMBOL
    ":\n"
    "pushl %ebp\n pushl %ebx\n pushl %esi\n pushl %edi\n"
    "movl 20(%esp), %eax\n"
    "movl %esp, 20(%eax)\n"
    "movl 8(%eax), %ecx\n"
    "movl 4(%eax), %esi\n"
    "leal -512(%esp), %edi\n andl $-16, %edi\n addl 12(%eax), %edi\n"
    "movl %edi, %esp\n"
    "cld\n rep movsl\n"
    "movl %eax, 128(%esp)\n"
    "movl $0x0badb001, %ebx\n movl $0x0badb002, %esi\n"
    "movl $0x0badb003, %edi\n movl $0x0badb004, %ebp\n"
    "movl (%eax), %ecx\n"
    "movl $0x0badb005, %eax\n movl $0x0badb006, %edx\n"
    "call *%ecx\n"
    "movl 128(%esp), %ecx\n"
    "movl %eax, 24(%ecx)\n movl %edx, 28(%ecx)\n movl %ebx, 32(%ecx)\n"
    "movl %esi, 36(%ecx)\n movl %edi, 40(%ecx)\n movl %ebp, 44(%ecx)\n"
    "pushfl\n popl 48(%ecx)\n"
    "cld\n"
    "cmpl $0, 16(%ecx)\n je 1f\n"
    "fstpl 56(%ecx)\n"
    "1: fnstenv 64(%ecx)\n fldenv 64(%ecx)\n"
    "movl 20(%ecx), %esp\n"
    "popl %edi\n popl %esi\n popl %ebx\n popl %ebp\n"
    "ret\n");

std::uint32_t word(int value) { return static_cast<std::uint32_t>(value); }
std::uint32_t word(std::size_t value) { return static_cast<std::uint32_t>(value); }
std::uint32_t word(const void* p) {
  return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(p));
}

std::uint16_t x87_control() {
  std::uint16_t word;
  asm volatile("fnstcw %0" : "=m"(word));
  return word;
}
void set_x87_control(std::uint16_t word) { asm volatile("fldcw %0" : : "m"(word)); }
std::uint32_t vector_control() {
  std::uint32_t word;
  asm volatile("stmxcsr %0" : "=m"(word));
  return word & ~0x3fu;  // without the exceptions seen
}
void set_vector_control(std::uint32_t word) { asm volatile("ldmxcsr %0" : : "m"(word)); }

struct Modes {
  const char* name;
  std::uint16_t x87;
  std::uint32_t vector;
};
const Modes kModes[] = {
    {"usual", 0x037f, 0x1f80},
    {"x87 at 53 bits", 0x027f, 0x1f80},
    {"x87 at 24 bits", 0x007f, 0x1f80},
    {"flush to zero", 0x037f, 0x9f80},
    {"flush to zero, denormals are zero, x87 at 53 bits", 0x027f, 0x9fc0},
    {"everything rounded towards zero", 0x0f7f, 0x7f80},
};

// Which stack and modes the calls below use.
std::uint32_t stack_offset;
const Modes* modes;
std::set<std::string> called;

Call call(const char* name, const void* function, const std::vector<std::uint32_t>& words,
          bool returns_double = false) {
  called.insert(name);
  // For test_exports.py, which reads what the library prints for each call.
  if (std::getenv("QSL_STACK_MARKS") != nullptr) std::printf("call %s\n", name);
  Call c = {};
  c.function = function;
  c.words = words.data();
  c.count = static_cast<std::uint32_t>(words.size());
  c.offset = stack_offset;
  c.returns_double = returns_double;
  const std::uint16_t x87_before = x87_control();
  const std::uint32_t vector_before = vector_control();
  set_x87_control(modes->x87);
  set_vector_control(modes->vector);
  call_from_stack(&c);
  const std::uint16_t x87_after = x87_control();
  const std::uint32_t vector_after = vector_control();
  set_x87_control(x87_before);
  set_vector_control(vector_before);

  const std::string where =
      std::string(name) + ", stack " + std::to_string(stack_offset) + " modulo 16, " + modes->name;
  EXPECT_EQ(c.ebx, 0x0badb001u) << where;
  EXPECT_EQ(c.esi, 0x0badb002u) << where;
  EXPECT_EQ(c.edi, 0x0badb003u) << where;
  EXPECT_EQ(c.ebp, 0x0badb004u) << where;
  EXPECT_EQ(c.flags & 0x400u, 0u) << where << ": direction flag";
  EXPECT_EQ(c.x87[2] & 0xffffu, 0xffffu) << where << ": x87 registers in use";
  EXPECT_EQ(x87_after, modes->x87) << where << ": x87 control word";
  EXPECT_EQ(vector_after, modes->vector) << where << ": vector control word";
  return c;
}

template <typename Result, typename... Arguments>
const void* code(Result (*function)(Arguments...)) {
  return reinterpret_cast<const void*>(function);
}

// Numbers at an address that is a multiple of four and no more.
class Numbers {
 public:
  explicit Numbers(int count, int shift = 1) : bytes_(static_cast<std::size_t>(count) * 8 + 128) {
    const auto address = reinterpret_cast<std::uintptr_t>(bytes_.data());
    start_ = bytes_.data() + (64 - address % 64) + 4 * shift;
  }
  double get(int i) const {
    double value;
    std::memcpy(&value, start_ + 8 * i, 8);
    return value;
  }
  void set(int i, double value) { std::memcpy(start_ + 8 * i, &value, 8); }
  const void* data() const { return start_; }

 private:
  std::vector<unsigned char> bytes_;
  unsigned char* start_;
};

const int kCounts[] = {0, 1, 2, 3, 4, 5, 7, 8, 15, 17, 31, 33, 64, 100, 1001};

void dot_products() {
  for (int n : kCounts) {
    for (int inc : {1, -1, 2}) {
      Numbers x(2 * n + 1), y(2 * n + 1, inc == 2 ? 2 : 1);
      double expected = 0;
      for (int i = 0; i <= 2 * n; ++i) x.set(i, i % 11 - 5), y.set(i, i % 7 - 3);
      for (int i = 0; i < n; ++i)
        expected += x.get(i * (inc < 0 ? 1 : inc)) * y.get(i * (inc < 0 ? 1 : inc));
      const Call by_address =
          call("DDOT", code(&DDOT),
               {word(&n), word(x.data()), word(&inc), word(y.data()), word(&inc)}, true);
      EXPECT_EQ(by_address.result, expected) << "DDOT " << n << ' ' << inc;
      const Call by_value =
          call("cblas_ddot", code(&cblas_ddot),
               {word(n), word(x.data()), word(inc), word(y.data()), word(inc)}, true);
      EXPECT_EQ(by_value.result, expected) << "cblas_ddot " << n << ' ' << inc;
    }
  }
}

void complex_updates() {
  Numbers alpha(2);
  alpha.set(0, 2);
  alpha.set(1, -3);
  for (int n : kCounts) {
    for (int inc : {1, 2}) {
      Numbers x(4 * n + 4), y(4 * n + 4, inc);
      for (int i = 0; i < 4 * n + 4; ++i) x.set(i, i % 11 - 5), y.set(i, i % 7 - 3);
      call("cblas_zaxpy", code(&cblas_zaxpy),
           {word(n), word(alpha.data()), word(x.data()), word(inc), word(y.data()), word(inc)});
      for (int i = 0; i < 2 * n + 2; ++i) {
        const double xr = 2 * i % 11 - 5, xi = (2 * i + 1) % 11 - 5;
        const double yr = 2 * i % 7 - 3, yi = (2 * i + 1) % 7 - 3;
        const bool updated = i % inc == 0 && i / inc < n;
        ASSERT_EQ(y.get(2 * i), updated ? yr + 2 * xr + 3 * xi : yr) << n << ' ' << inc << ' ' << i;
        ASSERT_EQ(y.get(2 * i + 1), updated ? yi + 2 * xi - 3 * xr : yi)
            << n << ' ' << inc << ' ' << i;
      }
    }
  }
}

void complex_copies() {
  for (int n : {0, 1, 2, 3, 5, 8, 17, 100, 1500}) {
    for (int inc : {1, 2}) {
      Numbers x(4 * n + 4), y(4 * n + 4, inc);
      for (int i = 0; i < 4 * n + 4; ++i) x.set(i, i + 1), y.set(i, -1);
      call("cblas_zcopy", code(&cblas_zcopy),
           {word(n), word(x.data()), word(inc), word(y.data()), word(inc)});
      for (int i = 0; i < 2 * n + 2; ++i) {
        const bool copied = i % inc == 0 && i / inc < n;
        ASSERT_EQ(y.get(2 * i), copied ? 2 * i + 1 : -1) << n << ' ' << inc << ' ' << i;
        ASSERT_EQ(y.get(2 * i + 1), copied ? 2 * i + 2 : -1) << n << ' ' << inc << ' ' << i;
      }
    }
  }
}

// Small integers at an address that is a multiple of four and no more.
template <class Part>
class Matrix {
 public:
  Matrix(int parts, int first) : bytes_(static_cast<std::size_t>(parts) * sizeof(Part) + 128) {
    const auto address = reinterpret_cast<std::uintptr_t>(bytes_.data());
    start_ = bytes_.data() + (64 - address % 64) + 4;
    for (int i = 0; i < parts; ++i) {
      const Part value = static_cast<Part>((i + first) % 7 - 3);
      std::memcpy(start_ + static_cast<std::size_t>(i) * sizeof value, &value, sizeof value);
    }
  }
  double get(int i) const {
    Part value;
    std::memcpy(&value, start_ + static_cast<std::size_t>(i) * sizeof value, sizeof value);
    return static_cast<double>(value);
  }
  const void* data() const { return start_; }

 private:
  std::vector<unsigned char> bytes_;
  unsigned char* start_;
};

struct Product {
  int layout, m, n, k;
};
// Shortcuts, tiles and blocks.
const Product kProducts[] = {{CblasColMajor, 1, 5, 4},   {CblasRowMajor, 6, 1, 3},
                             {CblasColMajor, 70, 3, 1},  {CblasRowMajor, 9, 7, 5},
                             {CblasColMajor, 13, 11, 9}, {CblasColMajor, 101, 3, 12},
                             {CblasRowMajor, 30, 76, 76}};

// C := 2 * A * B - C, for complex elements C := (2 + 3i) * A * B - C.
template <class Part>
void expect_product(const char* name, const Product& p, int parts, const Matrix<Part>& a,
                    const Matrix<Part>& b, const Matrix<Part>& before, const Matrix<Part>& c) {
  for (int i = 0; i < p.m; ++i) {
    for (int j = 0; j < p.n; ++j) {
      const bool by_rows = p.layout == CblasRowMajor;
      double re = 0, im = 0;
      for (int l = 0; l < p.k; ++l) {
        const int a_at = parts * (by_rows ? i * p.k + l : i + l * p.m);
        const int b_at = parts * (by_rows ? l * p.n + j : l + j * p.k);
        const double a_im = parts == 2 ? a.get(a_at + 1) : 0,
                     b_im = parts == 2 ? b.get(b_at + 1) : 0;
        re += a.get(a_at) * b.get(b_at) - a_im * b_im;
        im += a.get(a_at) * b_im + a_im * b.get(b_at);
      }
      const int at = parts * (by_rows ? i * p.n + j : i + j * p.m);
      const double alpha_im = parts == 2 ? 3 : 0;
      ASSERT_EQ(c.get(at), 2 * re - alpha_im * im - before.get(at))
          << name << ' ' << p.m << ' ' << p.n << ' ' << p.k << ": " << i << ", " << j;
      if (parts == 2) {
        ASSERT_EQ(c.get(at + 1), 2 * im + alpha_im * re - before.get(at + 1))
            << name << ' ' << p.m << ' ' << p.n << ' ' << p.k << ": " << i << ", " << j;
      }
    }
  }
}

template <class Part>
void complex_products(const char* name, const void* function) {
  const Matrix<Part> alpha(2, 5), beta(2, 2);  // 2 + 3i, -1 + 0i
  for (const Product& p : kProducts) {
    const Matrix<Part> a(2 * p.m * p.k, 1), b(2 * p.k * p.n, 2);
    const Matrix<Part> c(2 * p.m * p.n, 3), before(2 * p.m * p.n, 3);
    const bool by_rows = p.layout == CblasRowMajor;
    call(name, function,
         {word(p.layout), word(CblasNoTrans), word(CblasNoTrans), word(p.m), word(p.n), word(p.k),
          word(alpha.data()), word(a.data()), word(by_rows ? p.k : p.m), word(b.data()),
          word(by_rows ? p.n : p.k), word(beta.data()), word(c.data()), word(by_rows ? p.n : p.m)});
    expect_product(name, p, 2, a, b, before, c);
  }
}

void matrix_products() {
  const std::uint32_t alpha[2] = {0, 0x40000000}, beta[2] = {0, 0xbff00000};  // 2, -1
  for (const Product& p : kProducts) {
    const bool by_rows = p.layout == CblasRowMajor;
    const int lda = by_rows ? p.k : p.m, ldb = by_rows ? p.n : p.k, ldc = by_rows ? p.n : p.m;
    const Matrix<double> a(p.m * p.k, 1), b(p.k * p.n, 2), before(p.m * p.n, 3);
    const Matrix<double> by_value(p.m * p.n, 3), by_address(p.m * p.n, 3);
    call("cblas_dgemm", code(&cblas_dgemm),
         {word(p.layout), word(CblasNoTrans), word(CblasNoTrans), word(p.m), word(p.n), word(p.k),
          alpha[0], alpha[1], word(a.data()), word(lda), word(b.data()), word(ldb), beta[0],
          beta[1], word(by_value.data()), word(ldc)});
    expect_product("cblas_dgemm", p, 1, a, b, before, by_value);
    if (by_rows) continue;
    call("DGEMM", code(&DGEMM),
         {word("n"), word("N"), word(&p.m), word(&p.n), word(&p.k), word(alpha), word(a.data()),
          word(&lda), word(b.data()), word(&ldb), word(beta), word(by_address.data()), word(&ldc)});
    expect_product("DGEMM", p, 1, a, b, before, by_address);
  }
  complex_products<float>("cblas_cgemm", code(&cblas_cgemm));
  complex_products<double>("cblas_zgemm", code(&cblas_zgemm));
}

// y := (2 + 3i) * op(A) * x - y with a band matrix of 9 rows, 7 columns and bands of 2 and 3.
void band_products() {
  const int m = 9, n = 7, kl = 2, ku = 3, lda = 6;
  const Matrix<double> alpha(2, 5), beta(2, 2);  // 2 + 3i, -1 + 0i
  for (const int layout : {CblasColMajor, CblasRowMajor}) {
    for (const int trans : {CblasNoTrans, CblasTrans, CblasConjTrans}) {
      const bool by_rows = layout == CblasRowMajor, plain = trans == CblasNoTrans;
      const Matrix<double> a(2 * lda * (by_rows ? m : n), 1), x(2 * (plain ? n : m), 2);
      const Matrix<double> y(2 * (plain ? m : n), 3), before(2 * (plain ? m : n), 3);
      call("cblas_zgbmv", code(&cblas_zgbmv),
           {word(layout), word(trans), word(m), word(n), word(kl), word(ku), word(alpha.data()),
            word(a.data()), word(lda), word(x.data()), word(1), word(beta.data()), word(y.data()),
            word(1)});
      for (int k = 0; k < (plain ? m : n); ++k) {
        double re = 0, im = 0;
        for (int l = 0; l < (plain ? n : m); ++l) {
          const int i = plain ? k : l, j = plain ? l : k;
          if (i - j > kl || j - i > ku) continue;
          const int at = 2 * (by_rows ? i * lda + kl + j - i : j * lda + ku + i - j);
          const double a_im = trans == CblasConjTrans ? -a.get(at + 1) : a.get(at + 1);
          re += a.get(at) * x.get(2 * l) - a_im * x.get(2 * l + 1);
          im += a.get(at) * x.get(2 * l + 1) + a_im * x.get(2 * l);
        }
        ASSERT_EQ(y.get(2 * k), 2 * re - 3 * im - before.get(2 * k)) << layout << ' ' << trans;
        ASSERT_EQ(y.get(2 * k + 1), 2 * im + 3 * re - before.get(2 * k + 1))
            << layout << ' ' << trans;
      }
    }
  }
}

// A system whose elimination is exact in every mode: multipliers are halves, pivots powers of two,
// and each pivot stands in the last row that is left.
struct System {
  int n, nrhs, parts;
  Numbers a, b;

  System(int order, int sides, int part_count, bool by_rows)
      : n(order),
        nrhs(sides),
        parts(part_count),
        a(order * order * part_count),
        b(order * sides * part_count) {
    for (int i = 0; i < n; ++i) {
      for (int j = 0; j < n; ++j) set(a, by_rows ? i * n + j : i + j * n, element(i, j));
      for (int j = 0; j < nrhs; ++j) {
        double sum = 0;
        for (int k = 0; k < n; ++k) sum += element(i, k) * solution(k, j);
        set(b, by_rows ? i * nrhs + j : i + j * n, sum);
      }
    }
  }
  static double lower(int i, int k) { return i == k ? 1 : i > k ? ((i + k) % 3 - 1) * 0.5 : 0; }
  static double upper(int k, int j) {
    return k == j ? 1 << j % 3 : k < j ? (k + 2 * j) % 5 - 2 : 0;
  }
  double element(int i, int j) const {
    double sum = 0;
    for (int k = 0; k < n; ++k) sum += lower((i + 1) % n, k) * upper(k, j);
    return sum;
  }
  static double solution(int k, int j) { return (3 * k + j) % 7 - 3; }
  // Imaginary parts are twice the real ones on the right side, and in the solution.
  void set(Numbers& to, int i, double value) const {
    to.set(parts * i, value);
    if (parts == 2) to.set(parts * i + 1, &to == &a ? 0 : 2 * value);
  }
  void expect_solution(const char* name, bool by_rows) const {
    for (int k = 0; k < n; ++k) {
      for (int j = 0; j < nrhs; ++j) {
        const int at = parts * (by_rows ? k * nrhs + j : k + j * n);
        ASSERT_EQ(b.get(at), solution(k, j)) << name << ' ' << n << ": " << k << ", " << j;
        if (parts == 2) {
          ASSERT_EQ(b.get(at + 1), 2 * solution(k, j))
              << name << ' ' << n << ": " << k << ", " << j;
        }
      }
    }
  }
  // U, and L's rows in their order.
  void expect_factors(const char* name, const std::vector<int>& ipiv) const {
    for (int k = 0; k < n; ++k) {
      ASSERT_EQ(ipiv[static_cast<std::size_t>(k)], n) << name << ' ' << n << ": " << k;
      for (int i = 0; i < n; ++i) {
        ASSERT_EQ(a.get(i + k * n), i > k ? lower(i, k) : upper(i, k))
            << name << ' ' << n << ": " << i << ", " << k;
      }
    }
  }
};

void linear_systems() {
  for (const int n : {1, 5, 8, 16, 17, 40}) {
    std::vector<int> ipiv(static_cast<std::size_t>(n));
    int info = 99;
    System factored(n, 0, 1, false);
    call("DGETRF", code(&DGETRF),
         {word(&n), word(&n), word(factored.a.data()), word(&n), word(ipiv.data()), word(&info)});
    ASSERT_EQ(info, 0) << n;
    factored.expect_factors("DGETRF", ipiv);
    for (const int layout : {CblasColMajor, CblasRowMajor}) {
      for (const int nrhs : {1, 9}) {
        const bool by_rows = layout == CblasRowMajor;
        for (const int parts : {1, 2}) {
          System s(n, nrhs, parts, by_rows);
          const char* name = parts == 1 ? "LAPACKE_dgesv" : "LAPACKE_zgesv";
          const Call c = call(name, parts == 1 ? code(&LAPACKE_dgesv) : code(&LAPACKE_zgesv),
                              {word(layout), word(n), word(nrhs), word(s.a.data()), word(n),
                               word(ipiv.data()), word(s.b.data()), word(by_rows ? nrhs : n)});
          ASSERT_EQ(c.eax, 0u) << name << ' ' << n;
          s.expect_solution(name, by_rows);
        }
      }
    }
  }
}

// The identity times 2, in the middle of three diagonals and a row for fill.
void band_systems() {
  for (const int layout : {CblasRowMajor, CblasColMajor}) {
    const bool by_rows = layout == CblasRowMajor;
    const int n = 5, rows = 4;
    std::vector<double> ab(2 * n * rows), b(2 * n);
    std::vector<int> ipiv(n);
    for (int i = 0; i < 2 * n * rows; i++) ab[i] = 0;
    for (int i = 0; i < n; i++) {
      ab[2 * (by_rows ? 2 * n + i : rows * i + 2)] = 2;
      b[2 * i] = 2 * i;
      b[2 * i + 1] = -2;
    }
    const Call c =
        call("LAPACKE_zgbsv", code(&LAPACKE_zgbsv),
             {word(layout), word(n), word(1), word(1), word(1), word(ab.data()),
              word(by_rows ? n : rows), word(ipiv.data()), word(b.data()), word(by_rows ? 1 : n)});
    ASSERT_EQ(c.eax, 0u);
    for (int i = 0; i < n; i++) {
      ASSERT_EQ(b[2 * i], i);
      ASSERT_EQ(b[2 * i + 1], -1);
    }
  }
}

// Matrices of order n that need no pivoting, factored and solved in a compact buffer: A = L U with
// halves below the ones of L, and U with powers of two on its diagonal. Those of odd number are
// taken times i.
struct CompactBatch {
  int layout, n;
  std::vector<Numbers> matrices;
  std::vector<const void*> pointers;

  CompactBatch(int matrix_layout, int order, int nm) : layout(matrix_layout), n(order) {
    // One by one: a copy of Numbers would name the original's place.
    for (int k = 0; k < nm; ++k) matrices.emplace_back(2 * order * order);
    for (const Numbers& matrix : matrices) pointers.push_back(matrix.data());
  }
  int at(int i, int j) const { return 2 * (layout == CblasRowMajor ? i * n + j : j * n + i); }
  void set(int k, int i, int j, double re, double im) {
    Numbers& matrix = matrices[static_cast<std::size_t>(k)];
    matrix.set(at(i, j), re);
    matrix.set(at(i, j) + 1, im);
  }
  void expect(int k, int i, int j, double re, double im, const char* what) const {
    const Numbers& matrix = matrices[static_cast<std::size_t>(k)];
    ASSERT_EQ(matrix.get(at(i, j)), re) << what << ' ' << n << ": " << k << ", " << i << ", " << j;
    ASSERT_EQ(matrix.get(at(i, j) + 1), im)
        << what << ' ' << n << ": " << k << ", " << i << ", " << j;
  }
};

void compact_batch(int layout, int n, int format) {
  const int nm = 5, group = 2 << (format - QSL_COMPACT_SSE);
  const int padded = (nm + group - 1) / group * group;
  const Call size = call("qsl_zget_size_compact", code(&qsl_zget_size_compact),
                         {word(n), word(n), word(format), word(nm)});
  ASSERT_EQ(size.eax, word(16 * n * n * padded));

  CompactBatch a(layout, n, nm), b(layout, n, nm);
  for (int k = 0; k < nm; ++k) {
    for (int i = 0; i < n; ++i) {
      for (int j = 0; j < n; ++j) {
        double product = 0, right = 0;
        for (int l = 0; l < n; ++l) product += System::lower(i, l) * System::upper(l, j);
        for (int l = 0; l < n; ++l) {
          for (int r = 0; r < n; ++r) {
            right += System::lower(i, l) * System::upper(l, r) * System::solution(r, j + k);
          }
        }
        a.set(k, i, j, k % 2 == 0 ? product : 0, k % 2 == 0 ? 0 : product);
        b.set(k, i, j, right, 2 * right);
      }
    }
  }
  Numbers ap(2 * n * n * padded), bp(2 * n * n * padded), one(2), two(2);
  one.set(0, 1), two.set(0, 2);
  one.set(1, 0), two.set(1, 0);
  const auto copy = [&](const char* name, const void* function, const CompactBatch& plain,
                        const Numbers& compact) {
    call(name, function,
         {word(layout), word(n), word(n), word(plain.pointers.data()), word(n),
          word(compact.data()), word(n), word(format), word(nm)});
  };
  copy("qsl_zgepack_compact", code(&qsl_zgepack_compact), a, ap);
  copy("qsl_zgepack_compact", code(&qsl_zgepack_compact), b, bp);
  int info = 99;
  call("qsl_zgetrfnp_compact", code(&qsl_zgetrfnp_compact),
       {word(layout), word(n), word(n), word(ap.data()), word(n), word(&info), word(format),
        word(nm)});
  ASSERT_EQ(info, 0);
  const auto solve = [&](int uplo, int diag, const Numbers& alpha) {
    call("qsl_ztrsm_compact", code(&qsl_ztrsm_compact),
         {word(layout), word(CblasLeft), word(uplo), word(CblasNoTrans), word(diag), word(n),
          word(n), word(alpha.data()), word(ap.data()), word(n), word(bp.data()), word(n),
          word(format), word(nm)});
  };
  solve(CblasLower, CblasUnit, one);
  solve(CblasUpper, CblasNonUnit, two);
  copy("qsl_zgeunpack_compact", code(&qsl_zgeunpack_compact), a, ap);
  copy("qsl_zgeunpack_compact", code(&qsl_zgeunpack_compact), b, bp);
  for (int k = 0; k < nm; ++k) {
    const bool turned = k % 2 != 0;
    for (int i = 0; i < n; ++i) {
      for (int j = 0; j < n; ++j) {
        const double u = System::upper(i, j), x = 2 * System::solution(i, j + k);
        if (i > j) {
          a.expect(k, i, j, System::lower(i, j), 0, "L");
        } else {
          a.expect(k, i, j, turned ? 0 : u, turned ? u : 0, "U");
        }
        // (x + 2i x) / i = 2x - i x
        b.expect(k, i, j, turned ? 2 * x : x, turned ? -x : 2 * x, "X");
      }
    }
  }
}

void compact_batches() {
  const Call c = call("qsl_get_format_compact", code(&qsl_get_format_compact), {});
  ASSERT_EQ(c.eax, word(qsl_get_format_compact()));
  for (const int layout : {CblasColMajor, CblasRowMajor}) {
    for (const int format : {QSL_COMPACT_SSE, QSL_COMPACT_AVX, QSL_COMPACT_AVX512}) {
      for (const int n : {3, 7}) compact_batch(layout, n, format);
    }
  }
}

void memory() {
  for (std::size_t size : {std::size_t{1}, std::size_t{1000}, std::size_t{1} << 20}) {
    const Call allocated = call("QSL_malloc", code(&QSL_malloc), {word(size), word(128)});
    void* block = reinterpret_cast<void*>(static_cast<std::uintptr_t>(allocated.eax));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(allocated.eax % 128, 0u);
    std::memset(block, 1, size);
    call("QSL_free", code(&QSL_free), {word(block)});
  }
  call("QSL_free", code(&QSL_free), {0u});
  call("QSL_Free_Buffers", code(&QSL_Free_Buffers), {});
}

const std::function<void()> kFamilies[] = {dot_products,    complex_updates, complex_copies,
                                           matrix_products, band_products,   linear_systems,
                                           band_systems,    compact_batches, memory};

// Answers the stack pointer at the call instruction.
[[gnu::naked]] std::uint32_t stack_pointer() { asm("leal 4(%esp), %eax\n ret"); }

TEST(Trampoline, SetsTheStackPointer) {
  modes = &kModes[0];
  for (std::uint32_t offset : {0u, 4u, 8u, 12u}) {
    stack_offset = offset;
    EXPECT_EQ(call("", code(&stack_pointer), {1, 2, 3}).eax % 16, offset);
  }
}

class Stack : public ::testing::TestWithParam<std::uint32_t> {};

TEST_P(Stack, EveryExportInEveryMode) {
  stack_offset = GetParam();
  // An emulated processor is slow; 4 bytes off is what a 32-bit caller brings.
  if (std::getenv("QSL_TEST_EMULATED") != nullptr && stack_offset > 4) GTEST_SKIP();
  for (const Modes& m : kModes) {
    modes = &m;
    for (const auto& family : kFamilies) {
      family();
      if (HasFatalFailure()) return;
    }
  }
}

// The first, slow calls come from the worst stack.
INSTANTIATE_TEST_SUITE_P(Offsets, Stack, ::testing::Values(4u, 8u, 12u, 0u));

TEST(Coverage, EveryExportIsCalled) {
  stack_offset = 4;
  modes = &kModes[0];
  for (const auto& family : kFamilies) family();
  std::istringstream names(QSL_EXPORT_NAMES);
  for (std::string name; names >> name;)
    EXPECT_TRUE(called.count(name)) << name << " has no test here";
}

}  // namespace
