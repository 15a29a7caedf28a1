// Solves with a stored factorisation.
#include "lapack/elements.h"
#include "lapack/solvers.h"
#include "runtime/messages/messages.h"

namespace qsl::lapack {
namespace {

// Below this in both sizes the small kernels run. With many right-hand sides they run, too, for
// what they do best: all three steps of a plain solve in one pass.
constexpr int kSmallSizes = 9;

enum Option { kBadOption = -1, kPlain = 0, kTransposed = 1, kConjugateTransposed = 2 };

int decode(const char* trans) {
  if (qsl_lsame(trans, "N", 1, 1) != 0) return kPlain;
  if (qsl_lsame(trans, "T", 1, 1) != 0) return kTransposed;
  if (qsl_lsame(trans, "C", 1, 1) != 0) return kConjugateTransposed;
  return kBadOption;
}

int bad_argument(int option, int n, int nrhs, int lda, int ldb) {
  if (option == kBadOption) return 1;
  if (n < 0) return 2;
  if (nrhs < 0) return 3;
  if (lda < at_least_one(n)) return 5;
  if (ldb < at_least_one(n)) return 8;
  return 0;
}

// One triangle: a vector solve for a single right-hand side.
template <class Type, class Element = typename Type::Element>
void solve_triangle(int uplo, int diag, int trans, int n, int nrhs, const Element* a, int lda,
                    Element* b, int ldb) {
  if (nrhs == 1) {
    Type::trsv(uplo, trans, diag, n, a, lda, b);
  } else {
    Type::trsm(QSL_LEFT, uplo, trans, diag, n, nrhs, &Type::one, a, lda, b, ldb);
  }
}

template <class Type, class Element = typename Type::Element>
void solve_factored(int trans, int n, int nrhs, const Element* a, int lda, const int* ipiv,
                    Element* b, int ldb) {
  const int first = 1;
  if (trans == kPlain) {
    const int forward = 1;
    Type::exchange(&nrhs, b, &ldb, &first, &n, ipiv, &forward);
    solve_triangle<Type>(QSL_LOWER, QSL_UNIT, trans, n, nrhs, a, lda, b, ldb);
    solve_triangle<Type>(QSL_UPPER, QSL_NON_UNIT, trans, n, nrhs, a, lda, b, ldb);
  } else {
    const int backward = -1;
    solve_triangle<Type>(QSL_UPPER, QSL_NON_UNIT, trans, n, nrhs, a, lda, b, ldb);
    solve_triangle<Type>(QSL_LOWER, QSL_UNIT, trans, n, nrhs, a, lda, b, ldb);
    Type::exchange(&nrhs, b, &ldb, &first, &n, ipiv, &backward);
  }
}

// Others are for the general exchanges, which reach all rows of B and report bad pivots.
bool pivots_are_rows(int n, const int* ipiv) {
  for (int i = 0; i < n; i++) {
    if (ipiv[i] < 1 || ipiv[i] > n) return false;
  }
  return true;
}

template <class Type, class Element = typename Type::Element>
void getrs(const char* trans, int n, int nrhs, const Element* a, int lda, const int* ipiv,
           Element* b, int ldb, int* info) {
  const int option = decode(trans);
  const int bad = bad_argument(option, n, nrhs, lda, ldb);
  *info = -bad;
  if (bad != 0) return qsl_xerbla(Type::getrs_name, &bad, 6);
  if (n == 0 || nrhs == 0) return;
  if (n < kSmallSizes && (nrhs < kSmallSizes || (option == kPlain && pivots_are_rows(n, ipiv)))) {
    return Type::getrs_small(option, n, nrhs, a, lda, ipiv, b, ldb);
  }
  solve_factored<Type>(option, n, nrhs, a, lda, ipiv, b, ldb);
}

}  // namespace
}  // namespace qsl::lapack

extern "C" {

int qsl_lsame(const char* a, const char* b, int, int) {
  if (a == nullptr || b == nullptr) return 0;
  const auto upper = [](char c) { return c >= 'a' && c <= 'z' ? c - ('a' - 'A') : c; };
  return upper(*a) == upper(*b);
}

void DGETRS(const char* trans, const int* n, const int* nrhs, const double* a, const int* lda,
            const int* ipiv, double* b, const int* ldb, int* info) {
  qsl::lapack::getrs<qsl::lapack::Real>(trans, *n, *nrhs, a, *lda, ipiv, b, *ldb, info);
}

void ZGETRS(const char* trans, const int* n, const int* nrhs, const complex_double* a,
            const int* lda, const int* ipiv, complex_double* b, const int* ldb, int* info) {
  qsl::lapack::getrs<qsl::lapack::Complex>(trans, *n, *nrhs, a, *lda, ipiv, b, *ldb, info);
}
}
