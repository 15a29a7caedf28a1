// The exported factorisation.
#include "include/qsl/lapack.h"
#include "lapack/solvers.h"
#include "lapack/tuning.h"
#include "runtime/verbose/wrapper.h"

namespace qsl::lapack {

struct GetrfCall {
  int m, n;
  double* a;
  int lda;
  int* ipiv;
  Info info;

  void run() const {
    int status = 0;
    if (qsl_dgetrf_checks(&m, &n, &lda, &status) == 0) qsl_dgetrf(&m, &n, a, &lda, ipiv, &status);
    info.set(status);
  }
  void print(VerboseCall& timed) const {
    timed.print("DGETRF(%d,%d,%p,%d,%p,%d)", m, n, a, lda, ipiv, info.value());
  }
};

}  // namespace qsl::lapack

extern "C" void DGETRF(const int* m, const int* n, double* a, const int* lda, int* ipiv,
                       int* info) {
  using qsl::value_or_zero;
  qsl_progress_set_default(qsl_progress_continue);
  const qsl::lapack::GetrfCall call = {
      value_or_zero(m), value_or_zero(n), a, value_or_zero(lda), ipiv, qsl::Info(info)};
  qsl::wrapped_with_reports(&call);
}
