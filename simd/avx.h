// Vector types of the level avx: AVX. f64x2, f64x4.
#pragma once

#include "simd/f64x4.h"
