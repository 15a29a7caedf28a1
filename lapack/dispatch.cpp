#include "lapack/routines.h"

QSL_DISPATCHER(dgetrf_small);
QSL_DISPATCHER(zgetrf_small);
QSL_REPRODUCIBLE_DISPATCHER(dgetrf_leaf, p4);
QSL_REPRODUCIBLE_DISPATCHER(zgetrf_leaf, p4);
QSL_DISPATCHER(dgetrs_small);
QSL_DISPATCHER(zgetrs_small);
QSL_DISPATCHER(dlaswp);
QSL_DISPATCHER(zlaswp);
QSL_DISPATCHER(domatcopy_t);
QSL_DISPATCHER(zomatcopy_t);
QSL_DISPATCHER(nan_in_runs);
QSL_DISPATCHER(nan_in_band);
