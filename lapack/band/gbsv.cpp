// Systems with a complex band matrix: checks, work area, factor, then solve.
#include "lapack/band/blocking.h"
#include "lapack/band/routines.h"
#include "lapack/elements.h"
#include "lapack/wrapper.h"
#include "runtime/memory/memory.h"

namespace qsl::lapack {

static VerboseGate gbsv_gate;

struct GbsvCall {
  int n, kl, ku, nrhs;
  complex_double* ab;
  int ldab;
  int* ipiv;
  complex_double* b;
  int ldb;

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
    const int info =
        qsl_dispatch_zgbtrf(n, kl, ku, ab, ldab, ipiv, static_cast<complex_double*>(work));
    if (work != nullptr) qsl_mm_deallocate(work);
    return info;
  }
  int run() const {
    const int bad = bad_argument();
    if (bad != 0) {
      qsl_xerbla("ZGBSV ", &bad, 6);
      return -bad;
    }
    if (n == 0) return 0;
    const int info = factor();
    if (info == 0 && nrhs > 0) {
      qsl_dispatch_zgbtrs(n, kl, ku, nrhs, ab, ldab, ipiv, b, ldb);
    }
    return info;
  }
  void print(VerboseCall& timed, int info) const {
    timed.print("ZGBSV(%d,%d,%d,%d,%p,%d,%p,%p,%d,%d)", n, kl, ku, nrhs, address(ab), ldab,
                address(ipiv), address(b), ldb, info);
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
                                      value_or_zero(ldb)};
  qsl::lapack::wrapped(&qsl::lapack::gbsv_gate, call, info);
}
}
