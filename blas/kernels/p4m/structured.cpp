// Products and solves with symmetric and triangular matrices, level p4m.
#include "simd/p4m.h"

#include "blas/level3/kernels/structured.inl"
