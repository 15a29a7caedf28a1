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

// All bits but the sign, folded: 0 for zero of either sign alone.
inline unsigned magnitude_bits(const double* value) {
  const auto* bits = reinterpret_cast<const DoubleBits*>(value);
  return bits->low | (bits->high << 1);
}
inline unsigned magnitude_bits(const float* value) {
  return reinterpret_cast<const FloatBits*>(value)->word << 1;
}

inline bool is_zero(const double* value) { return magnitude_bits(value) == 0; }
inline bool is_zero(const float* value) { return magnitude_bits(value) == 0; }
// (One test: with a branch for each part the compiler loads and stores all arguments of a call that
// two ways lead to.)
inline bool is_zero(const complex_double* value) {
  return (magnitude_bits(&value->real) | magnitude_bits(&value->imag)) == 0;
}
inline bool is_zero(const complex_float* value) {
  return (magnitude_bits(&value->real) | magnitude_bits(&value->imag)) == 0;
}

inline bool is_one(const complex_double* value) {
  const auto* real = reinterpret_cast<const DoubleBits*>(&value->real);
  return real->low == 0 && real->high == 0x3ff00000u && is_zero(&value->imag);
}

}  // namespace qsl::blas
