// The exported factorisation.
#include "include/qsl/lapack.h"
#include "lapack/solvers.h"
#include "lapack/tuning.h"
#include "lapack/wrapper.h"

namespace qsl::lapack {

static VerboseGate dgetrf_gate;

struct GetrfCall {
  int m, n;
  double* a;
  int lda;
  int* ipiv;

  int run() const {
    int info = 0;
    if (qsl_dgetrf_checks(&m, &n, &lda, &info) == 0) qsl_dgetrf(&m, &n, a, &lda, ipiv, &info);
    return info;
  }
  void print(VerboseCall& timed, int info) const {
    timed.print("DGETRF(%d,%d,%p,%d,%p,%d)", m, n, address(a), lda, address(ipiv), info);
  }
};

}  // namespace qsl::lapack

extern "C" void DGETRF(const int* m, const int* n, double* a, const int* lda, int* ipiv,
                       int* info) {
  using qsl::value_or_zero;
  qsl_progress_set_default(qsl_progress_continue);
  const qsl::lapack::GetrfCall call = {value_or_zero(m), value_or_zero(n), a, value_or_zero(lda),
                                       ipiv};
  qsl::lapack::store_info(info, qsl::lapack::wrapped(&qsl::lapack::dgetrf_gate, call));
}
