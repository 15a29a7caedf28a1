// Vector types of the level avx512: AVX-512 F, DQ, BW, VL. f64x2, f64x4, f64x8, f32x4, f32x8,
// f32x16.
#pragma once

#include "simd/level.h"
