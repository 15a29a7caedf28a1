// Systems with a complex band matrix: checks, work area, factor, then solve.
#include "lapack/band/blocking.h"
#include "lapack/band/routines.h"
#include "lapack/elements.h"
#include "runtime/memory/memory.h"
#include "runtime/verbose/wrapper.h"

namespace qsl::lapack {

struct GbsvCall {
  int n, kl, ku, nrhs;
  complex_double* ab;
  int ldab;
  int* ipiv;
  complex_double* b;
  int ldb;
  Info info;

  int bad_argument() const {
    if (n < 0) return 1;
    if (kl < 0) return 2;
    if (ku < 0) return 3;
    if (nrhs < 0) return 4;
    if (ldab < 2ll * kl + ku + 1) return 6;
    if (ldb < at_least_one(n)) return 9;
    return 0;
  }
  int factor() const {
    const unsigned long long elements = gbtrf_work_elements(n, kl, ku);
    const unsigned long long bytes = elements * sizeof(complex_double);
    void* work = nullptr;
    if (bytes != 0 && bytes < 0x80000000u) {
      work = qsl_mm_allocate(static_cast<std::size_t>(bytes), 128);
    }
    const int status =
        qsl_dispatch_zgbtrf(n, kl, ku, ab, ldab, ipiv, static_cast<complex_double*>(work));
    if (work != nullptr) qsl_mm_deallocate(work);
    return status;
  }
  int solve() const {
    const int bad = bad_argument();
    if (bad != 0) {
      qsl_xerbla("ZGBSV ", &bad, 6);
      return -bad;
    }
    if (n == 0) return 0;
    const int status = factor();
    if (status == 0 && nrhs > 0) {
      qsl_dispatch_zgbtrs(n, kl, ku, nrhs, ab, ldab, ipiv, b, ldb);
    }
    return status;
  }
  void run() const { info.set(solve()); }
  void print(VerboseCall& timed) const {
    timed.print("ZGBSV(%d,%d,%d,%d,%p,%d,%p,%p,%d,%d)", n, kl, ku, nrhs, ab, ldab, ipiv, b, ldb,
                info.value());
  }
};

}  // namespace qsl::lapack

extern "C" {

using qsl::value_or_zero;

void ZGBSV(const int* n, const int* kl, const int* ku, const int* nrhs, complex_double* ab,
           const int* ldab, int* ipiv, complex_double* b, const int* ldb, int* info) {
  const qsl::lapack::GbsvCall call = {value_or_zero(n),
                                      value_or_zero(kl),
                                      value_or_zero(ku),
                                      value_or_zero(nrhs),
                                      ab,
                                      value_or_zero(ldab),
                                      ipiv,
                                      b,
                                      value_or_zero(ldb),
                                      qsl::Info(info)};
  qsl::wrapped_with_reports(&call);
}
}
