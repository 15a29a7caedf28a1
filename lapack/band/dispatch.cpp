#include "lapack/band/routines.h"

QSL_REPRODUCIBLE_DISPATCHER(zgbtrf, p4);
QSL_REPRODUCIBLE_DISPATCHER(zgbtrs, p4);
