#include "compact/routines.h"

QSL_REPRODUCIBLE_DISPATCHER(zgepack_compact, p4);
QSL_REPRODUCIBLE_DISPATCHER(zgeunpack_compact, p4);
QSL_DISPATCHER(zgetrfnp_compact);
QSL_REPRODUCIBLE_DISPATCHER(ztrsm_compact, p4);
