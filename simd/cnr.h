// Vector types of the level cnr: SSE2, the reproducible bodies. f64x2.
#pragma once

#include "simd/f64x2.h"
