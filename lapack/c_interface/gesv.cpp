// LAPACKE_dgesv and LAPACKE_zgesv.
#include "include/qsl/lapack.h"
#include "lapack/c_interface/c_interface.h"
#include "lapack/elements.h"
#include "runtime/memory/memory.h"

namespace qsl::lapack {
namespace {

struct DgesvInterface : Real {
  static constexpr char name[] = "LAPACKE_dgesv";
  static constexpr char work_name[] = "LAPACKE_dgesv_work";
  static constexpr auto solver = DGESV;
  static constexpr auto has_nan = qsl_lapacke_dge_nancheck;
  static constexpr auto transpose = qsl_lapacke_dge_trans;
};

struct ZgesvInterface : Complex {
  static constexpr char name[] = "LAPACKE_zgesv";
  static constexpr char work_name[] = "LAPACKE_zgesv_work";
  static constexpr auto solver = ZGESV;
  static constexpr auto has_nan = qsl_lapacke_zge_nancheck;
  static constexpr auto transpose = qsl_lapacke_zge_trans;
};

// The system through column-major copies.
template <class Routine, class Element = typename Routine::Element>
int gesv_row_major(int n, int nrhs, Element* a, int lda, int* ipiv, Element* b, int ldb) {
  if (lda < n) return reported(Routine::work_name, -5);
  if (ldb < nrhs) return reported(Routine::work_name, -8);
  const int ld = at_least_one(n);
  auto* a_t = static_cast<Element*>(allocate_matrix(ld, ld, sizeof(Element)));
  if (a_t == nullptr) return reported(Routine::work_name, QSL_LAPACKE_TRANSPOSE_MEMORY);
  auto* b_t = static_cast<Element*>(allocate_matrix(ld, at_least_one(nrhs), sizeof(Element)));
  if (b_t == nullptr) {
    qsl_mm_deallocate(a_t);
    return reported(Routine::work_name, QSL_LAPACKE_TRANSPOSE_MEMORY);
  }
  Routine::transpose(CblasRowMajor, n, n, a, lda, a_t, ld);
  Routine::transpose(CblasRowMajor, n, nrhs, b, ldb, b_t, ld);
  int info = 0;
  Routine::solver(&n, &nrhs, a_t, &ld, ipiv, b_t, &ld, &info);
  Routine::transpose(CblasColMajor, n, n, a_t, ld, a, lda);
  Routine::transpose(CblasColMajor, n, nrhs, b_t, ld, b, ldb);
  qsl_mm_deallocate(b_t);
  qsl_mm_deallocate(a_t);
  return shifted(info);
}

template <class Routine, class Element = typename Routine::Element>
int gesv_work(int layout, int n, int nrhs, Element* a, int lda, int* ipiv, Element* b, int ldb) {
  if (layout == CblasColMajor) {
    int info = 0;
    Routine::solver(&n, &nrhs, a, &lda, ipiv, b, &ldb, &info);
    return shifted(info);
  }
  if (layout == CblasRowMajor) {
    return gesv_row_major<Routine>(n, nrhs, a, lda, ipiv, b, ldb);
  }
  return reported(Routine::work_name, -1);
}

template <class Routine, class Element = typename Routine::Element>
int gesv(int layout, int n, int nrhs, Element* a, int lda, int* ipiv, Element* b, int ldb) {
  if (!is_layout(layout)) return reported(Routine::name, -1);
  if (qsl_lapacke_nancheck_enabled() != 0) {
    if (Routine::has_nan(layout, n, n, a, lda) != 0) return -4;
    if (Routine::has_nan(layout, n, nrhs, b, ldb) != 0) return -7;
  }
  return gesv_work<Routine>(layout, n, nrhs, a, lda, ipiv, b, ldb);
}

}  // namespace
}  // namespace qsl::lapack

extern "C" {

int LAPACKE_dgesv(int layout, int n, int nrhs, double* a, int lda, int* ipiv, double* b, int ldb) {
  using qsl::lapack::gesv;
  return gesv<qsl::lapack::DgesvInterface>(layout, n, nrhs, a, lda, ipiv, b, ldb);
}

int LAPACKE_zgesv(int layout, int n, int nrhs, complex_double* a, int lda, int* ipiv,
                  complex_double* b, int ldb) {
  using qsl::lapack::gesv;
  return gesv<qsl::lapack::ZgesvInterface>(layout, n, nrhs, a, lda, ipiv, b, ldb);
}
}
