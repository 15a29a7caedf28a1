#ifndef QSL_LAPACK_H
#define QSL_LAPACK_H
#include "qsl/types.h"
#ifdef __cplusplus
extern "C" {
#endif
QSL_API void DGETRF(const int* m, const int* n, double* a, const int* lda, int* ipiv, int* info);
QSL_API int LAPACKE_dgesv(int layout, int n, int nrhs, double* a, int lda, int* ipiv, double* b,
                          int ldb);
QSL_API int LAPACKE_zgesv(int layout, int n, int nrhs, complex_double* a, int lda, int* ipiv,
                          complex_double* b, int ldb);
QSL_API int LAPACKE_zgbsv(int layout, int n, int kl, int ku, int nrhs, complex_double* ab, int ldab,
                          int* ipiv, complex_double* b, int ldb);
#ifdef __cplusplus
}
#endif
#endif
