// The layer between the C entries and the solvers: reports, the search for NaN, copies between the
// storage orders, temporary matrices.
#pragma once

#include <cstddef>

#include "include/qsl/types.h"
#include "runtime/dispatch/dispatcher.h"

// Status of a row-major call without memory, and of one without work arrays.
enum { QSL_LAPACKE_WORK_MEMORY = -1010, QSL_LAPACKE_TRANSPOSE_MEMORY = -1011 };

extern "C" {

// Prints what a negative status of the function `name` means.
QSL_HIDDEN void qsl_lapacke_xerbla(const char* name, int info);

// 1 unless LAPACKE_NANCHECK is a number that is 0; read once.
QSL_HIDDEN int qsl_lapacke_nancheck_enabled();

// 1 when a matrix of m rows and n columns holds a NaN; 0 for a null pointer and for a layout that is
// none.
QSL_HIDDEN int qsl_lapacke_dge_nancheck(int layout, int m, int n, const double* a, int lda);
QSL_HIDDEN int qsl_lapacke_zge_nancheck(int layout, int m, int n, const complex_double* a, int lda);
// The same for a band of kl sub-diagonals and ku super-diagonals.
QSL_HIDDEN int qsl_lapacke_zgb_nancheck(int layout, int m, int n, int kl, int ku,
                                        const complex_double* ab, int ldab);

// Copy a matrix in `layout` to one in the other layout; a null pointer: nothing.
QSL_HIDDEN void qsl_lapacke_dge_trans(int layout, int m, int n, const double* in, int ldin,
                                      double* out, int ldout);
QSL_HIDDEN void qsl_lapacke_zge_trans(int layout, int m, int n, const complex_double* in, int ldin,
                                      complex_double* out, int ldout);
// Band positions outside the matrix are not written.
QSL_HIDDEN void qsl_lapacke_zgb_trans(int layout, int m, int n, int kl, int ku,
                                      const complex_double* in, int ldin, complex_double* out,
                                      int ldout);

// out := alpha * in^T. `ordering` 'c' or 'r' is the storage order of both; `operation` is 't'.
QSL_HIDDEN void qsl_domatcopy_t(char ordering, char operation, int rows, int columns,
                                const double* alpha, const double* in, int ldin, double* out,
                                int ldout);
QSL_HIDDEN void qsl_zomatcopy_t(char ordering, char operation, int rows, int columns,
                                const complex_double* alpha, const complex_double* in, int ldin,
                                complex_double* out, int ldout);
}

namespace qsl::lapack {

// Room for rows by columns elements, or null: also when a 32-bit size can't say it.
void* allocate_matrix(long long rows, long long columns, std::size_t element_size);

inline bool is_layout(int layout) { return layout == CblasRowMajor || layout == CblasColMajor; }

// A status of the layer's own, reported.
inline int reported(const char* name, int status) {
  qsl_lapacke_xerbla(name, status);
  return status;
}

// The solver's positions, shifted by the layout argument.
inline int shifted(int info) { return info < 0 ? info - 1 : info; }

}  // namespace qsl::lapack
