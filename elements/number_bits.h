// Questions about a number behind a pointer, answered by integer arithmetic: the frame does not
// load floating-point values, and a comparison of integers does not depend on the caller's
// floating-point mode, in which a denormal number might count as zero.
//
// The functions are always expanded where they are called, so the frame and every level may share
// them: none of them exists on its own, compiled for one level and called at another.
#pragma once

#include "include/qsl/types.h"

namespace qsl {

// (Packed: a number may lie at any address.)
struct [[gnu::packed, gnu::may_alias]] DoubleBits {
  unsigned low, high;
};
struct [[gnu::packed, gnu::may_alias]] FloatBits {
  unsigned word;
};

#define QSL_ALWAYS_EXPANDED [[gnu::always_inline]] inline

// All bits but the sign, folded: 0 for zero of either sign alone.
QSL_ALWAYS_EXPANDED unsigned magnitude_bits(const double* value) {
  const auto* bits = reinterpret_cast<const DoubleBits*>(value);
  return bits->low | (bits->high << 1);
}
QSL_ALWAYS_EXPANDED unsigned magnitude_bits(const float* value) {
  return reinterpret_cast<const FloatBits*>(value)->word << 1;
}

QSL_ALWAYS_EXPANDED bool is_zero(const double* value) { return magnitude_bits(value) == 0; }
QSL_ALWAYS_EXPANDED bool is_zero(const float* value) { return magnitude_bits(value) == 0; }
// (One test, as for one below: with a branch for each part the compiler loads and stores all
// arguments of a call that two ways lead to.)
QSL_ALWAYS_EXPANDED bool is_zero(const complex_double* value) {
  return (magnitude_bits(&value->real) | magnitude_bits(&value->imag)) == 0;
}
QSL_ALWAYS_EXPANDED bool is_zero(const complex_float* value) {
  return (magnitude_bits(&value->real) | magnitude_bits(&value->imag)) == 0;
}

// What differs from the bits of 1, folded: 0 for 1 alone.
QSL_ALWAYS_EXPANDED unsigned bits_besides_one(const double* value) {
  const auto* bits = reinterpret_cast<const DoubleBits*>(value);
  return bits->low | (bits->high ^ 0x3ff00000u);
}
QSL_ALWAYS_EXPANDED unsigned bits_besides_one(const float* value) {
  return reinterpret_cast<const FloatBits*>(value)->word ^ 0x3f800000u;
}

QSL_ALWAYS_EXPANDED bool is_one(const double* value) { return bits_besides_one(value) == 0; }
QSL_ALWAYS_EXPANDED bool is_one(const float* value) { return bits_besides_one(value) == 0; }
QSL_ALWAYS_EXPANDED bool is_one(const complex_double* value) {
  return (bits_besides_one(&value->real) | magnitude_bits(&value->imag)) == 0;
}
QSL_ALWAYS_EXPANDED bool is_one(const complex_float* value) {
  return (bits_besides_one(&value->real) | magnitude_bits(&value->imag)) == 0;
}

#undef QSL_ALWAYS_EXPANDED

}  // namespace qsl
