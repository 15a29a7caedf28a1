// Products and solves with symmetric and triangular matrices, level p4.
#include "simd/p4.h"

#include "blas/level3/kernels/structured.inl"
