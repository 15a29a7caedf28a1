// The exported matrix products and their argument checks.
//
// The row-major product is the column-major product of the transposed problem: operands, options
// and sizes change places, the bits of the result are the same.
#include "blas/level3/gemm_interface.h"
#include "blas/selectors.h"
#include "include/qsl/blas.h"
#include "runtime/arguments.h"
#include "runtime/verbose/wrapper.h"

namespace qsl::blas {

struct Dgemm : Double {
  static constexpr char name[] = "DGEMM ";
  static constexpr char c_name[] = "cblas_dgemm";
  static constexpr char line[] = "DGEMM(%c,%c,%d,%d,%d,%p,%p,%d,%p,%d,%p,%p,%d)";
};

struct Cgemm : ComplexFloat {
  static constexpr char name[] = "CGEMM ";
  static constexpr char c_name[] = "cblas_cgemm";
  static constexpr char line[] = "CGEMM(%c,%c,%d,%d,%d,%p,%p,%d,%p,%d,%p,%p,%d)";
};

struct Zgemm : ComplexDouble {
  static constexpr char name[] = "ZGEMM ";
  static constexpr char c_name[] = "cblas_zgemm";
  static constexpr char line[] = "ZGEMM(%c,%c,%d,%d,%d,%p,%p,%d,%p,%d,%p,%p,%d)";
};

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

template <class Type>
static void print_gemm(VerboseCall& timed, char transa, char transb,
                       const GemmArguments<typename Type::Element>& g) {
  timed.print(Type::line, transa, transb, g.m, g.n, g.k, g.alpha, g.a, g.lda, g.b, g.ldb, g.beta,
              g.c, g.ldc);
}

// The C-style call, which has been checked.
template <class Type>
struct CGemmCall {
  GemmArguments<typename Type::Element> arguments;

  [[gnu::always_inline]] void run() const { gemm_interface<Type>(arguments); }
  void print(VerboseCall& timed) const {
    print_gemm<Type>(timed, "NTC"[arguments.transa], "NTC"[arguments.transb], arguments);
  }
};

// The Fortran-style call, with its options as they are given. A call that is turned down has its
// line, too.
template <class Type>
struct GemmCall {
  char transa, transb;
  GemmArguments<typename Type::Element> arguments;

  [[gnu::always_inline]] void run() {
    auto& g = arguments;
    const int info = bad_argument(transa, transb, g.m, g.n, g.k, g.lda, g.ldb, g.ldc);
    if (info != 0) return qsl_xerbla(Type::name, &info, 6);
    g.transa = decode_transpose(transa);
    g.transb = decode_transpose(transb);
    gemm_interface<Type>(g);
  }
  void print(VerboseCall& timed) const { print_gemm<Type>(timed, transa, transb, arguments); }
};

// The first dimension of a stored operand: rows of a column-major one, columns of a row-major one.
static int first_dimension(bool column_major, int selector, int rows, int columns) {
  return column_major == (selector == CblasNoTrans) ? rows : columns;
}

// The layout is looked at after the sizes (callers rely on which of two faults is named).
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

// A call that passes these checks would pass those of the Fortran-style routine, too.
template <class Type, class Element = typename Type::Element>
[[gnu::always_inline]] inline void c_gemm(int layout, int transa, int transb, int m, int n, int k,
                                          const void* alpha, const void* a, int lda, const void* b,
                                          int ldb, const void* beta, void* c, int ldc) {
  const int info = bad_c_argument(layout, transa, transb, m, n, k, lda, ldb, ldc);
  if (info != 0) return qsl_cblas_report(Type::c_name, info);
  const bool row_major = layout == CblasRowMajor;
  const auto* left = static_cast<const Element*>(row_major ? b : a);
  const auto* right = static_cast<const Element*>(row_major ? a : b);
  const int option_left = row_major ? transb : transa;
  const int option_right = row_major ? transa : transb;
  const CGemmCall<Type> call = {
      {option_left - CblasNoTrans, option_right - CblasNoTrans, row_major ? n : m,
       row_major ? m : n, k, static_cast<const Element*>(alpha), left, row_major ? ldb : lda, right,
       row_major ? lda : ldb, static_cast<const Element*>(beta), static_cast<Element*>(c), ldc}};
  wrapped_with_reports(&call);
}

}  // namespace qsl::blas

extern "C" {

using qsl::value_or_zero;

void DGEMM(const char* transa, const char* transb, const int* m, const int* n, const int* k,
           const double* alpha, const double* a, const int* lda, const double* b, const int* ldb,
           const double* beta, double* c, const int* ldc) {
  qsl::blas::GemmCall<qsl::blas::Dgemm> call = {
      value_or_zero(transa),
      value_or_zero(transb),
      {0, 0, value_or_zero(m), value_or_zero(n), value_or_zero(k), alpha, a, value_or_zero(lda), b,
       value_or_zero(ldb), beta, c, value_or_zero(ldc)}};
  qsl::wrapped_with_reports(&call);
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
