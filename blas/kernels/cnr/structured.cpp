// Products and solves with symmetric and triangular matrices, level cnr.
#include "simd/cnr.h"

#include "blas/level3/kernels/structured.inl"
