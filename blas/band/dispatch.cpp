#include "blas/band/routines.h"

QSL_DISPATCHER(void, zgbmv,
               (int, int, int, int, int, const complex_double*, const complex_double*, int,
                const complex_double*, int, const complex_double*, complex_double*, int));
