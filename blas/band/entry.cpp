// The exported product of a band matrix and a vector.
//
// A row-major array is the band storage of the transposed matrix: sizes and widths change places,
// and a plain product becomes a transposed one. What the conjugate transpose becomes is the plain
// product with the conjugate of A, which no kernel computes; the conjugates of x, y and the factors
// are taken instead, and that of the result.
//
// Every sign is changed by integer arithmetic: the frame's only way of loading a floating-point
// value is the x87 unit, which quiets signalling NaNs.
#include <cstddef>
#include <cstdint>

#include "blas/band/routines.h"
#include "blas/level1/routines.h"
#include "blas/selectors.h"
#include "elements/number_bits.h"
#include "include/qsl/blas.h"
#include "runtime/arguments.h"
#include "runtime/memory/memory.h"
#include "runtime/verbose/wrapper.h"

namespace qsl::blas {

static constexpr char gbmv_name[] = "ZGBMV ";
static constexpr char c_gbmv_name[] = "cblas_zgbmv";

// lda <= kl + ku, for widths that are not negative; their sum may be too large for an int.
static bool too_few_rows(int lda, int kl, int ku) {
  return lda < 0 || static_cast<unsigned>(lda) <= static_cast<unsigned>(kl) + ku;
}

struct GbmvCall {
  char trans;
  int m, n, kl, ku;
  const complex_double* alpha;
  const complex_double* a;
  int lda;
  const complex_double* x;
  int incx;
  const complex_double* beta;
  complex_double* y;
  int incy;

  int bad_argument() const {
    if (!is_transpose_option(trans)) return 1;
    if (m < 0) return 2;
    if (n < 0) return 3;
    if (kl < 0) return 4;
    if (ku < 0) return 5;
    if (too_few_rows(lda, kl, ku)) return 8;
    if (incx == 0) return 10;
    if (incy == 0) return 13;
    return 0;
  }
  // A call that is turned down has its line, too.
  void run() const {
    const int bad = bad_argument();
    if (bad != 0) return qsl_xerbla(gbmv_name, &bad, 6);
    qsl_dispatch_zgbmv(decode_transpose(trans), m, n, kl, ku, alpha, a, lda, x, incx, beta, y,
                       incy);
  }
  void print(VerboseCall& timed) const {
    timed.print("ZGBMV(%c,%d,%d,%d,%d,%p,%p,%d,%p,%d,%p,%p,%d)", trans, m, n, kl, ku, alpha, a, lda,
                x, incx, beta, y, incy);
  }
};

static void gbmv(const GbmvCall& call) { wrapped_with_reports(&call); }

// The arguments that both storage orders check alike, after the options.
static int bad_c_argument(const GbmvCall& g) {
  if (g.m < 0) return 3;
  if (g.n < 0) return 4;
  if (g.kl < 0) return 5;
  if (g.ku < 0) return 6;
  if (too_few_rows(g.lda, g.kl, g.ku)) return 9;
  if (g.incx == 0) return 11;
  if (g.incy == 0) return 14;
  return 0;
}

// Whether the call ends here: reported, or with nothing to do.
static bool ends_here(const GbmvCall& g) {
  const int info = bad_c_argument(g);
  if (info != 0) {
    qsl_cblas_report(c_gbmv_name, info);
    return true;
  }
  return g.m == 0 || g.n == 0 || (is_zero(g.alpha) && is_one(g.beta));
}

// A bad selector is reported, and leaves the option unset: the wrapper turns the call down.
static char option_of(int trans, const char* options) {
  if (is_transpose_selector(trans)) return options[trans - CblasNoTrans];
  qsl_cblas_report(c_gbmv_name, 2);
  return '\0';
}

static void gbmv_by_columns(GbmvCall& g, int trans) {
  g.trans = option_of(trans, "NTC");
  if (!ends_here(g)) gbmv(g);
}

constexpr unsigned sign = 0x80000000u;

struct Conjugate {
  DoubleBits real, imag;

  explicit Conjugate(const complex_double* value) {
    const auto* bits = reinterpret_cast<const DoubleBits*>(value);
    real.low = bits[0].low;
    real.high = bits[0].high;
    imag.low = bits[1].low;
    imag.high = bits[1].high ^ sign;
  }
  const complex_double* number() const { return reinterpret_cast<const complex_double*>(this); }
};

// The n elements from the base on, `step` elements apart. Zeros that stay keep their sign.
static void conjugate(int n, complex_double* base, unsigned step, bool zeros_stay = false) {
  constexpr std::size_t size = sizeof(complex_double);
  // (As numbers: an element may lie at any address.)
  auto at = reinterpret_cast<std::uintptr_t>(base) + offsetof(complex_double, imag);
  for (; n > 0; n--, at += step * size) {
    auto* imag = reinterpret_cast<double*>(at);
    if (!(zeros_stay && is_zero(imag))) reinterpret_cast<DoubleBits*>(imag)->high ^= sign;
  }
}

// y := alpha * conj(A) * x + beta * y, the sizes being those of A as its array holds it. The
// conjugate of y is made in place, and once more when it holds the conjugate of the result. With
// beta 0 sums of zeros are +0, as the product stores them, and are left so.
static void conjugate_gbmv(const GbmvCall& g) {
  constexpr std::size_t size = sizeof(complex_double);
  const auto count = static_cast<std::size_t>(g.n);
  void* block = count > SIZE_MAX / size ? nullptr : qsl_mm_allocate(count * size, 128);
  if (block == nullptr) return qsl_cblas_report_workspace(c_gbmv_name);
  auto* x = static_cast<complex_double*>(block);
  qsl_dispatch_zcopy(g.n, g.x, g.incx, x, 1);
  conjugate(g.n, x, 1);
  const Conjugate alpha(g.alpha), beta(g.beta);
  GbmvCall plain = g;
  plain.alpha = alpha.number();
  plain.beta = beta.number();
  plain.x = x;
  plain.incx = 1;
  const bool stores_sums = is_zero(g.beta);
  // A walk against the stride's direction meets the same elements.
  const unsigned step = g.incy < 0 ? 0u - static_cast<unsigned>(g.incy) : g.incy;
  conjugate(g.m, g.y, step);
  gbmv(plain);
  qsl_mm_deallocate(block);
  conjugate(g.m, g.y, step, stores_sums);
}

static void gbmv_by_rows(GbmvCall& g, int trans) {
  if (ends_here(g)) return;
  g.trans = option_of(trans, "TNN");
  const GbmvCall given = g;
  g.m = given.n;
  g.n = given.m;
  g.kl = given.ku;
  g.ku = given.kl;
  if (trans == CblasConjTrans) {
    conjugate_gbmv(g);
  } else {
    gbmv(g);
  }
}

}  // namespace qsl::blas

extern "C" {

using qsl::value_or_zero;

void ZGBMV(const char* trans, const int* m, const int* n, const int* kl, const int* ku,
           const complex_double* alpha, const complex_double* a, const int* lda,
           const complex_double* x, const int* incx, const complex_double* beta, complex_double* y,
           const int* incy) {
  qsl::blas::gbmv({value_or_zero(trans), value_or_zero(m), value_or_zero(n), value_or_zero(kl),
                   value_or_zero(ku), alpha, a, value_or_zero(lda), x, value_or_zero(incx), beta, y,
                   value_or_zero(incy)});
}

void cblas_zgbmv(int layout, int trans, int m, int n, int kl, int ku, const void* alpha,
                 const void* a, int lda, const void* x, int incx, const void* beta, void* y,
                 int incy) {
  qsl::blas::GbmvCall call = {'\0',
                              m,
                              n,
                              kl,
                              ku,
                              static_cast<const complex_double*>(alpha),
                              static_cast<const complex_double*>(a),
                              lda,
                              static_cast<const complex_double*>(x),
                              incx,
                              static_cast<const complex_double*>(beta),
                              static_cast<complex_double*>(y),
                              incy};
  switch (layout) {
    case CblasColMajor:
      return qsl::blas::gbmv_by_columns(call, trans);
    case CblasRowMajor:
      return qsl::blas::gbmv_by_rows(call, trans);
    default:
      qsl_cblas_report(qsl::blas::c_gbmv_name, 1);
  }
}
}
