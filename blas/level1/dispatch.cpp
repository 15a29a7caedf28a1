#include "blas/level1/routines.h"

QSL_DISPATCHER(double, ddot, (int, const double*, int, const double*, int));
QSL_DISPATCHER(void, daxpy, (int, const double*, const double*, int, double*, int));
QSL_DISPATCHER(void, zaxpy,
               (int, const complex_double*, const complex_double*, int, complex_double*, int));
QSL_DISPATCHER(void, dcopy, (int, const double*, int, double*, int));
QSL_DISPATCHER(void, zcopy, (int, const complex_double*, int, complex_double*, int));
