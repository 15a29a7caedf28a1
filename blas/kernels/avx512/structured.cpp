// Products and solves with symmetric and triangular matrices, level avx512.
#include "simd/avx512.h"

#include "blas/level3/kernels/structured.inl"
