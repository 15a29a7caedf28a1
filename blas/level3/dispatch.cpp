#include "blas/level3/routines.h"

QSL_DISPATCHER(void, dgemm,
               (int, int, int, int, int, const double*, const double*, int, const double*, int,
                const double*, double*, int));
QSL_DISPATCHER(void, cgemm,
               (int, int, int, int, int, const complex_float*, const complex_float*, int,
                const complex_float*, int, const complex_float*, complex_float*, int));
QSL_DISPATCHER(void, zgemm,
               (int, int, int, int, int, const complex_double*, const complex_double*, int,
                const complex_double*, int, const complex_double*, complex_double*, int));

QSL_DISPATCHER(void, dsymm,
               (int, int, int, int, const double*, const double*, int, const double*, int,
                const double*, double*, int));
QSL_DISPATCHER(void, dgemmt,
               (int, int, int, int, int, const double*, const double*, int, const double*, int,
                const double*, double*, int));
QSL_DISPATCHER(void, dsyrk,
               (int, int, int, int, const double*, const double*, int, const double*, double*,
                int));
QSL_DISPATCHER(void, dsyr2k,
               (int, int, int, int, const double*, const double*, int, const double*, int,
                const double*, double*, int));
QSL_DISPATCHER(void, dtrmm,
               (int, int, int, int, int, int, const double*, const double*, int, double*, int));
QSL_DISPATCHER(void, dtrsm,
               (int, int, int, int, int, int, const double*, const double*, int, double*, int));
QSL_DISPATCHER(void, ztrsm,
               (int, int, int, int, int, int, const complex_double*, const complex_double*, int,
                complex_double*, int));
