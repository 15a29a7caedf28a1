// LAPACKE_zgbsv.
#include "include/qsl/lapack.h"
#include "lapack/band/routines.h"
#include "lapack/c_interface/c_interface.h"
#include "lapack/elements.h"
#include "runtime/memory/memory.h"

namespace qsl::lapack {
namespace {

constexpr char name[] = "LAPACKE_zgbsv";
constexpr char work_name[] = "LAPACKE_zgbsv_work";

// The band as its storage has room for it: kl rows of fill above the ku super-diagonals.
int stored_upper_width(int kl, int ku) {
  const long long width = static_cast<long long>(kl) + ku;
  constexpr long long most = 0x7fffffff;
  if (width > most) return static_cast<int>(most);
  return width < -most ? static_cast<int>(-most) : static_cast<int>(width);
}

int gbsv_row_major(int n, int kl, int ku, int nrhs, complex_double* ab, int ldab, int* ipiv,
                   complex_double* b, int ldb) {
  if (ldab < n) return reported(work_name, -7);
  if (ldb < nrhs) return reported(work_name, -10);
  const long long rows = 2ll * kl + ku;
  const long long ldab_t = (rows > 0 ? rows : 0) + 1;
  const int ldb_t = at_least_one(n);
  auto* ab_t = static_cast<complex_double*>(
      allocate_matrix(ldab_t, at_least_one(n), sizeof(complex_double)));
  if (ab_t == nullptr) return reported(work_name, QSL_LAPACKE_TRANSPOSE_MEMORY);
  auto* b_t = static_cast<complex_double*>(
      allocate_matrix(ldb_t, at_least_one(nrhs), sizeof(complex_double)));
  if (b_t == nullptr) {
    qsl_mm_deallocate(ab_t);
    return reported(work_name, QSL_LAPACKE_TRANSPOSE_MEMORY);
  }
  const int ld = static_cast<int>(ldab_t);
  const int upper = stored_upper_width(kl, ku);
  qsl_lapacke_zgb_trans(CblasRowMajor, n, n, kl, upper, ab, ldab, ab_t, ld);
  qsl_lapacke_zge_trans(CblasRowMajor, n, nrhs, b, ldb, b_t, ldb_t);
  int info = 0;
  ZGBSV(&n, &kl, &ku, &nrhs, ab_t, &ld, ipiv, b_t, &ldb_t, &info);
  qsl_lapacke_zgb_trans(CblasColMajor, n, n, kl, upper, ab_t, ld, ab, ldab);
  qsl_lapacke_zge_trans(CblasColMajor, n, nrhs, b_t, ldb_t, b, ldb);
  qsl_mm_deallocate(b_t);
  qsl_mm_deallocate(ab_t);
  return shifted(info);
}

int gbsv_work(int layout, int n, int kl, int ku, int nrhs, complex_double* ab, int ldab, int* ipiv,
              complex_double* b, int ldb) {
  if (layout == CblasColMajor) {
    int info = 0;
    ZGBSV(&n, &kl, &ku, &nrhs, ab, &ldab, ipiv, b, &ldb, &info);
    return shifted(info);
  }
  if (layout == CblasRowMajor) {
    return gbsv_row_major(n, kl, ku, nrhs, ab, ldab, ipiv, b, ldb);
  }
  return reported(work_name, -1);
}

}  // namespace
}  // namespace qsl::lapack

extern "C" int LAPACKE_zgbsv(int layout, int n, int kl, int ku, int nrhs, complex_double* ab,
                             int ldab, int* ipiv, complex_double* b, int ldb) {
  using namespace qsl::lapack;
  if (!is_layout(layout)) return reported(name, -1);
  if (qsl_lapacke_nancheck_enabled() != 0) {
    if (qsl_lapacke_zgb_nancheck(layout, n, n, kl, stored_upper_width(kl, ku), ab, ldab) != 0) {
      return -6;
    }
    if (qsl_lapacke_zge_nancheck(layout, n, nrhs, b, ldb) != 0) return -9;
  }
  return gbsv_work(layout, n, kl, ku, nrhs, ab, ldab, ipiv, b, ldb);
}
