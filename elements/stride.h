// Walking a vector by its stride.
#pragma once

#include <cstddef>
#include <cstdint>

#include "simd/inline.h"

namespace qsl::QSL_LEVEL {

// The element that a walk stands on. Addresses are computed modulo 2^32, as the hardware does, so
// that no stride and no count overflows; `unit` is the element's size in scalars.
template <class Scalar, int unit = 1>
class Walk {
 public:
  // Starts at the logical first element: base + (1 - n) * inc for a negative stride.
  QSL_INLINE Walk(Scalar* base, int n, int inc)
      : at_(reinterpret_cast<std::uintptr_t>(base)),
        step_(static_cast<std::uintptr_t>(inc) * unit * sizeof(Scalar)) {
    if (inc < 0) at_ += (1 - static_cast<std::uintptr_t>(n)) * step_;
  }

  QSL_INLINE Scalar* operator*() const { return reinterpret_cast<Scalar*>(at_); }
  QSL_INLINE Scalar* operator[](std::uintptr_t i) const {
    return reinterpret_cast<Scalar*>(at_ + i * step_);
  }
  QSL_INLINE void advance(std::uintptr_t elements) { at_ += elements * step_; }
  QSL_INLINE bool is_contiguous() const { return step_ == unit * sizeof(Scalar); }

 private:
  std::uintptr_t at_;
  std::uintptr_t step_;
};

// body(Index<0>{}), ..., `pass` times, while that many elements are left.
template <int pass, class Body>
QSL_INLINE void repeat(int& n, const Body& body) {
  while (n >= pass) {
    unroll<pass>(body);
    n -= pass;
    keep(n);
  }
}

QSL_INLINE std::uintptr_t misalignment(const void* p, std::uintptr_t boundary) {
  return reinterpret_cast<std::uintptr_t>(p) % boundary;
}

}  // namespace qsl::QSL_LEVEL
