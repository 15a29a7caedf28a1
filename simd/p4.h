// Vector types of the level p4: SSE2. f64x2.
#pragma once

#include "simd/f64x2.h"
