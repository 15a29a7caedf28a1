// General systems: factor, then solve.
#include "lapack/elements.h"
#include "lapack/solvers.h"
#include "runtime/verbose/wrapper.h"

namespace qsl::lapack {

struct Dgesv : Real {
  static constexpr char name[] = "DGESV ";
  static constexpr char line[] = "DGESV(%d,%d,%p,%d,%p,%p,%d,%d)";
};

struct Zgesv : Complex {
  static constexpr char name[] = "ZGESV ";
  static constexpr char line[] = "ZGESV(%d,%d,%p,%d,%p,%p,%d,%d)";
};

static int bad_argument(int n, int nrhs, int lda, int ldb) {
  if (n < 0) return 1;
  if (nrhs < 0) return 2;
  if (lda < at_least_one(n)) return 4;
  if (ldb < at_least_one(n)) return 7;
  return 0;
}

template <class Routine>
struct GesvCall {
  using Element = typename Routine::Element;

  int n, nrhs;
  Element* a;
  int lda;
  int* ipiv;
  Element* b;
  int ldb;
  Info info;

  int solve() const {
    const int bad = bad_argument(n, nrhs, lda, ldb);
    if (bad != 0) {
      qsl_xerbla(Routine::name, &bad, 6);
      return -bad;
    }
    int status = 0;
    Routine::factor(&n, &n, a, &lda, ipiv, &status);
    if (status == 0) Routine::solve("No transpose", &n, &nrhs, a, &lda, ipiv, b, &ldb, &status);
    return status;
  }
  void run() const { info.set(solve()); }
  void print(VerboseCall& timed) const {
    timed.print(Routine::line, n, nrhs, a, lda, ipiv, b, ldb, info.value());
  }
};

}  // namespace qsl::lapack

extern "C" {

using qsl::value_or_zero;

void DGESV(const int* n, const int* nrhs, double* a, const int* lda, int* ipiv, double* b,
           const int* ldb, int* info) {
  using Routine = qsl::lapack::Dgesv;
  const qsl::lapack::GesvCall<Routine> call = {
      value_or_zero(n),   value_or_zero(nrhs), a, value_or_zero(lda), ipiv, b,
      value_or_zero(ldb), qsl::Info(info)};
  qsl::wrapped_with_reports(&call);
}

void ZGESV(const int* n, const int* nrhs, complex_double* a, const int* lda, int* ipiv,
           complex_double* b, const int* ldb, int* info) {
  using Routine = qsl::lapack::Zgesv;
  const qsl::lapack::GesvCall<Routine> call = {
      value_or_zero(n),   value_or_zero(nrhs), a, value_or_zero(lda), ipiv, b,
      value_or_zero(ldb), qsl::Info(info)};
  qsl::wrapped_with_reports(&call);
}
}
