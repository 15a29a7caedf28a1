// Vector types of the level avx2: AVX2 with FMA. f64x2, f64x4, f32x4, f32x8.
#pragma once

#include "simd/level.h"
