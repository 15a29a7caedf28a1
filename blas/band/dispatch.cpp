#include "blas/band/routines.h"

QSL_REPRODUCIBLE_DISPATCHER(zgbmv, p4);
