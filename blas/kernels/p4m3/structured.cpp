// Products and solves with symmetric and triangular matrices, level p4m3.
#include "simd/p4m3.h"

#include "blas/level3/kernels/structured.inl"
