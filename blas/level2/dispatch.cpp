#include "blas/level2/routines.h"

QSL_DISPATCHER(void, dgemv,
               (int, int, int, const double*, const double*, int, const double*, int, const double*,
                double*, int));
QSL_DISPATCHER(void, zgemv,
               (int, int, int, const complex_double*, const complex_double*, int,
                const complex_double*, int, const complex_double*, complex_double*, int));
QSL_DISPATCHER(void, cgemv,
               (int, int, int, const complex_float*, const complex_float*, int,
                const complex_float*, int, const complex_float*, complex_float*, int));
QSL_DISPATCHER(void, dger,
               (int, int, const double*, const double*, int, const double*, int, const double*,
                double*, int));
QSL_DISPATCHER(void, zgeru,
               (int, int, const complex_double*, const complex_double*, int, const complex_double*,
                int, const complex_double*, complex_double*, int));
QSL_DISPATCHER(void, cgeru,
               (int, int, const complex_float*, const complex_float*, int, const complex_float*,
                int, const complex_float*, complex_float*, int));

QSL_DISPATCHER(void, dtrsv, (int, int, int, int, const double*, int, double*));
QSL_DISPATCHER(void, ztrsv, (int, int, int, int, const complex_double*, int, complex_double*));
