// Vector types of the level p4m: SSSE3. f64x2.
#pragma once

#include "simd/f64x2.h"
