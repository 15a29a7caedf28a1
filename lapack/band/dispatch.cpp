#include "lapack/band/routines.h"

QSL_DISPATCHER(int, zgbtrf, (int, int, int, complex_double*, int, int*, complex_double*));
QSL_DISPATCHER(void, zgbtrs,
               (int, int, int, int, const complex_double*, int, const int*, complex_double*, int));
