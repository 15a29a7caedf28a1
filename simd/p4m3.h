// Vector types of the level p4m3: SSE4.2. f64x2.
#pragma once

#include "simd/f64x2.h"
