// Vector types of the level p4m3: SSE4.2. f64x2, f32x4.
#pragma once

#include "simd/level.h"
