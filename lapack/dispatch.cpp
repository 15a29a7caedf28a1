#include "lapack/routines.h"

QSL_DISPATCHER_6(void, dgetrf_small, (int, int, double*, int, int*, int*));
QSL_DISPATCHER_6(void, zgetrf_small, (int, int, complex_double*, int, int*, int*));
QSL_DISPATCHER(void, dgetrf_leaf, (int, int, double*, int, int*, int*));
QSL_DISPATCHER(void, zgetrf_leaf, (int, int, complex_double*, int, int*, int*));

QSL_DISPATCHER_6(void, dgetrs_small,
                 (int, int, int, const double*, int, const int*, double*, int));
QSL_DISPATCHER_6(void, zgetrs_small,
                 (int, int, int, const complex_double*, int, const int*, complex_double*, int));
QSL_DISPATCHER_6(int, dlaswp, (int, double*, int, int, int, const int*, int, int));
QSL_DISPATCHER_6(int, zlaswp, (int, complex_double*, int, int, int, const int*, int, int));

QSL_DISPATCHER_6(void, domatcopy_t, (int, int, const double*, const double*, int, double*, int));
QSL_DISPATCHER_6(void, zomatcopy_t,
                 (int, int, const complex_double*, const complex_double*, int, complex_double*,
                  int));
QSL_DISPATCHER_6(int, nan_in_runs, (int, int, int, const double*, int));
QSL_DISPATCHER_6(int, nan_in_band, (int, int, int, int, int, const complex_double*, int));
