// Vector types of the level avx2: AVX2 with FMA. f64x2, f64x4.
#pragma once

#include "simd/f64x4.h"
