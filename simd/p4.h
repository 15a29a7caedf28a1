// Vector types of the level p4: SSE2. f64x2, f32x4.
#pragma once

#include "simd/level.h"
