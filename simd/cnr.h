// Vector types of the level cnr: SSE2, the reproducible bodies. f64x2, f32x4.
#pragma once

#include "simd/level.h"
