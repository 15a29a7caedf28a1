// Vector types of the level avx512: AVX-512 F, DQ, BW, VL. f64x2, f64x4, f64x8.
#pragma once

#include "simd/f64x8.h"
