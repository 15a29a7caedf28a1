// What a factor asks for: nothing of what stood there, what stood there as it is, or a product.
#pragma once

#include <cstdint>

#include "simd/inline.h"

namespace qsl::QSL_LEVEL {

enum class FactorKind { zero, one, general };

struct [[gnu::may_alias]] FactorWord {
  std::uint32_t bits;
};

// By its bits: a comparison of numbers would depend on the caller's floating-point mode, in which a
// denormal number might count as zero.
template <class Elements>
QSL_INLINE FactorKind kind_of(const typename Elements::Scalar* factor) {
  const auto* words = reinterpret_cast<const FactorWord*>(factor);
  constexpr int top = sizeof(typename Elements::Scalar) / 4 - 1;  // the word with sign and exponent
  constexpr std::uint32_t one = top == 0 ? 0x3f800000u : 0x3ff00000u;
  std::uint32_t rest = top == 0 ? 0 : words[0].bits;  // all bits but those of the real top word
  if constexpr (Elements::unit == 2) {
    const auto* imag = words + top + 1;
    rest |= imag[top].bits << 1;
    if constexpr (top != 0) rest |= imag[0].bits;
  }
  if (rest != 0) return FactorKind::general;
  if (words[top].bits << 1 == 0) return FactorKind::zero;
  return words[top].bits == one ? FactorKind::one : FactorKind::general;
}

}  // namespace qsl::QSL_LEVEL
