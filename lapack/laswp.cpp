// Row exchanges with the published walk over the pivots.
#include "lapack/elements.h"
#include "lapack/solvers.h"
#include "runtime/messages/messages.h"

namespace qsl::lapack {
namespace {

constexpr int kPivots = 6;  // the position of ipiv

template <class Type>
void laswp(int n, typename Type::Element* a, int lda, int k1, int k2, const int* ipiv, int incx) {
  // (A stride below 0 takes the rows from the last to the first, and its pivots begin at
  // k1 + (k1 - k2) * incx; that is the one of row k2.)
  if (incx == 0 || k2 < k1) return;
  const bool forward = incx > 0;
  const unsigned steps = static_cast<unsigned>(k2) - static_cast<unsigned>(k1);
  const int count = static_cast<int>(steps + 1);
  unsigned pivot = static_cast<unsigned>(k1) - 1;
  if (!forward) pivot -= steps * static_cast<unsigned>(incx);
  const int row = (forward ? k1 : k2) - 1;
  if (Type::laswp(n, a, lda, row, forward ? 1 : -1, ipiv + static_cast<int>(pivot), incx, count) !=
      0) {
    qsl_xerbla(Type::laswp_name, &kPivots, 6);
  }
}

}  // namespace
}  // namespace qsl::lapack

extern "C" {

void DLASWP(const int* n, double* a, const int* lda, const int* k1, const int* k2, const int* ipiv,
            const int* incx) {
  qsl::lapack::laswp<qsl::lapack::Real>(*n, a, *lda, *k1, *k2, ipiv, *incx);
}

void ZLASWP(const int* n, complex_double* a, const int* lda, const int* k1, const int* k2,
            const int* ipiv, const int* incx) {
  qsl::lapack::laswp<qsl::lapack::Complex>(*n, a, *lda, *k1, *k2, ipiv, *incx);
}
}
