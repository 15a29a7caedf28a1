// Questions about a factor behind a pointer, asked by integer arithmetic: the frame does not load
// floating-point values, and a comparison of integers does not depend on the caller's
// floating-point mode, in which a denormal number might count as zero.
#pragma once

#include "include/qsl/types.h"

namespace qsl::blas {

// (Packed: a number may lie at any address.)
struct [[gnu::packed, gnu::may_alias]] DoubleBits {
  unsigned low, high;
};
struct [[gnu::packed, gnu::may_alias]] FloatBits {
  unsigned word;
};

// Zero of either sign: all bits but the sign are clear.
inline bool is_zero(const double* value) {
  const auto* bits = reinterpret_cast<const DoubleBits*>(value);
  return (bits->low | (bits->high << 1)) == 0;
}
inline bool is_zero(const float* value) {
  return reinterpret_cast<const FloatBits*>(value)->word << 1 == 0;
}
inline bool is_zero(const complex_double* value) {
  return is_zero(&value->real) && is_zero(&value->imag);
}
inline bool is_zero(const complex_float* value) {
  return is_zero(&value->real) && is_zero(&value->imag);
}

inline bool is_one(const complex_double* value) {
  const auto* real = reinterpret_cast<const DoubleBits*>(&value->real);
  return real->low == 0 && real->high == 0x3ff00000u && is_zero(&value->imag);
}

}  // namespace qsl::blas
