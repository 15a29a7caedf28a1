// Products and solves with symmetric and triangular matrices, level avx2.
#include "simd/avx2.h"

#include "blas/level3/kernels/structured.inl"
