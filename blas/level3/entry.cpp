// The exported matrix products: argument checks and the wrappers with verbose timing around the
// interface functions.
//
// The row-major product is the column-major product of the transposed problem: operands, options
// and sizes change places, the bits of the result are the same.
#include "blas/checks.h"
#include "blas/level3/gemm_interface.h"
#include "blas/selectors.h"
#include "include/qsl/blas.h"
#include "runtime/verbose/wrapper.h"

namespace qsl::blas {

struct Dgemm : Double {
  static constexpr char name[] = "DGEMM ";
  static constexpr char c_name[] = "cblas_dgemm";
  static constexpr char format[] = "DGEMM(%c,%c,%d,%d,%d,%p,%p,%d,%p,%d,%p,%p,%d)";
  static inline VerboseGate gate;
};

struct Cgemm : ComplexFloat {
  static constexpr char name[] = "CGEMM ";
  static constexpr char c_name[] = "cblas_cgemm";
  static constexpr char format[] = "CGEMM(%c,%c,%d,%d,%d,%p,%p,%d,%p,%d,%p,%p,%d)";
  static inline VerboseGate gate;
};

struct Zgemm : ComplexDouble {
  static constexpr char name[] = "ZGEMM ";
  static constexpr char c_name[] = "cblas_zgemm";
  static constexpr char format[] = "ZGEMM(%c,%c,%d,%d,%d,%p,%p,%d,%p,%d,%p,%p,%d)";
  static inline VerboseGate gate;
};

static int at_least_one(int size) { return size > 1 ? size : 1; }

// The position of the first bad argument; 0 when all are good.
static int bad_argument(char transa, char transb, int m, int n, int k, int lda, int ldb, int ldc) {
  if (!is_transpose_option(transa)) return 1;
  if (!is_transpose_option(transb)) return 2;
  if (m < 0) return 3;
  if (n < 0) return 4;
  if (k < 0) return 5;
  if (lda < at_least_one(decode_transpose(transa) == no_transpose ? m : k)) return 8;
  if (ldb < at_least_one(decode_transpose(transb) == no_transpose ? k : n)) return 10;
  if (ldc < at_least_one(m)) return 13;
  return 0;
}

// A call as the wrapper sees it.
template <class Element>
struct GemmCall {
  char transa, transb;
  GemmArguments<Element> arguments;
};

template <class Routine>
static void checked_gemm(GemmCall<typename Routine::Element>& call) {
  auto& g = call.arguments;
  const int info = bad_argument(call.transa, call.transb, g.m, g.n, g.k, g.lda, g.ldb, g.ldc);
  if (info != 0) return qsl_xerbla(Routine::name, &info, 6);
  g.transa = decode_transpose(call.transa);
  g.transb = decode_transpose(call.transb);
  gemm_interface<Routine>(g);
}

static const void* address(const void* p) { return p; }

// A call that is turned down has its line, too.
template <class Routine>
[[gnu::noinline, gnu::cold]] static void verbose_gemm(GemmCall<typename Routine::Element>& call) {
  VerboseCall timed(&Routine::gate);
  checked_gemm<Routine>(call);
  const auto& g = call.arguments;
  timed.print(Routine::format, call.transa, call.transb, g.m, g.n, g.k, address(g.alpha),
              address(g.a), g.lda, address(g.b), g.ldb, address(g.beta), address(g.c), g.ldc);
}

template <class Routine>
static void gemm_wrapper(GemmCall<typename Routine::Element>& call) {
  install_reporter();
  if (!Routine::gate.is_off()) return verbose_gemm<Routine>(call);
  checked_gemm<Routine>(call);
}

// The first dimension of a stored operand: rows of a column-major one, columns of a row-major one.
static int first_dimension(bool column_major, int selector, int rows, int columns) {
  return column_major == (selector == CblasNoTrans) ? rows : columns;
}

// The layout is looked at after the sizes.
static int bad_c_argument(int layout, int transa, int transb, int m, int n, int k, int lda, int ldb,
                          int ldc) {
  if (!is_transpose_selector(transa)) return 2;
  if (!is_transpose_selector(transb)) return 3;
  if (m < 0) return 4;
  if (n < 0) return 5;
  if (k < 0) return 6;
  if (layout != CblasRowMajor && layout != CblasColMajor) return 1;
  const bool column_major = layout == CblasColMajor;
  if (lda < at_least_one(first_dimension(column_major, transa, m, k))) return 9;
  if (ldb < at_least_one(first_dimension(column_major, transb, k, n))) return 11;
  if (ldc < at_least_one(column_major ? m : n)) return 14;
  return 0;
}

// A call that passes these checks passes those of the wrapper, too: without verbose mode it goes
// straight to the interface function.
template <class Routine, class Element = typename Routine::Element>
[[gnu::always_inline]] inline void c_gemm(int layout, int transa, int transb, int m, int n, int k,
                                          const void* alpha, const void* a, int lda, const void* b,
                                          int ldb, const void* beta, void* c, int ldc) {
  const int info = bad_c_argument(layout, transa, transb, m, n, k, lda, ldb, ldc);
  if (info != 0) return qsl_cblas_report(Routine::c_name, info);
  const bool row_major = layout == CblasRowMajor;
  const auto* left = static_cast<const Element*>(row_major ? b : a);
  const auto* right = static_cast<const Element*>(row_major ? a : b);
  const int option_left = row_major ? transb : transa;
  const int option_right = row_major ? transa : transb;
  const GemmArguments<Element> arguments = {option_left - CblasNoTrans,
                                            option_right - CblasNoTrans,
                                            row_major ? n : m,
                                            row_major ? m : n,
                                            k,
                                            static_cast<const Element*>(alpha),
                                            left,
                                            row_major ? ldb : lda,
                                            right,
                                            row_major ? lda : ldb,
                                            static_cast<const Element*>(beta),
                                            static_cast<Element*>(c),
                                            ldc};
  install_reporter();
  if (Routine::gate.is_off()) return gemm_interface<Routine>(arguments);
  GemmCall<Element> call = {*qsl_cblas_trans_char[option_left], *qsl_cblas_trans_char[option_right],
                            arguments};
  verbose_gemm<Routine>(call);
}

}  // namespace qsl::blas

extern "C" {

using qsl::value_or_zero;

void DGEMM(const char* transa, const char* transb, const int* m, const int* n, const int* k,
           const double* alpha, const double* a, const int* lda, const double* b, const int* ldb,
           const double* beta, double* c, const int* ldc) {
  qsl::blas::GemmCall<double> call = {
      transa != nullptr ? *transa : '\0',
      transb != nullptr ? *transb : '\0',
      {0, 0, value_or_zero(m), value_or_zero(n), value_or_zero(k), alpha, a, value_or_zero(lda), b,
       value_or_zero(ldb), beta, c, value_or_zero(ldc)}};
  qsl::blas::gemm_wrapper<qsl::blas::Dgemm>(call);
}

void cblas_dgemm(int layout, int transa, int transb, int m, int n, int k, double alpha,
                 const double* a, int lda, const double* b, int ldb, double beta, double* c,
                 int ldc) {
  qsl::blas::c_gemm<qsl::blas::Dgemm>(layout, transa, transb, m, n, k, &alpha, a, lda, b, ldb,
                                      &beta, c, ldc);
}

void cblas_cgemm(int layout, int transa, int transb, int m, int n, int k, const void* alpha,
                 const void* a, int lda, const void* b, int ldb, const void* beta, void* c,
                 int ldc) {
  qsl::blas::c_gemm<qsl::blas::Cgemm>(layout, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta,
                                      c, ldc);
}

void cblas_zgemm(int layout, int transa, int transb, int m, int n, int k, const void* alpha,
                 const void* a, int lda, const void* b, int ldb, const void* beta, void* c,
                 int ldc) {
  qsl::blas::c_gemm<qsl::blas::Zgemm>(layout, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta,
                                      c, ldc);
}
}
