// Vector types of the level avx: AVX. f64x2, f64x4, f32x4, f32x8.
#pragma once

#include "simd/level.h"
