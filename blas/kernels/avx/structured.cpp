// Products and solves with symmetric and triangular matrices, level avx.
#include "simd/avx.h"

#include "blas/level3/kernels/structured.inl"
