// The search for a pivot: the element of greatest magnitude, the first of equal ones.
//
// The magnitude of a complex number is |re| + |im|. A NaN is never greater than anything, and
// nothing is greater than a NaN that comes first.
#pragma once

#include "elements/in_registers.h"
#include "elements/rest.h"

namespace qsl::QSL_LEVEL {

// Each lane's element's magnitude; both lanes of a complex number get it.
template <class Elements, class Vector>
QSL_INLINE Vector magnitudes(Vector x) {
  const Vector parts = absolute(x);
  if constexpr (Elements::parts == 1) {
    return parts;
  } else {
    return parts + swap_pairs(parts);
  }
}

// The magnitude of the element at p, in all lanes.
template <class Elements>
QSL_INLINE auto magnitude_at(const typename Elements::Scalar* p) {
  using Vector = typename Elements::Vector;
  if constexpr (Elements::parts == 1) {
    return absolute(Vector::broadcast_from(p));
  } else {
    return magnitudes<Elements>(Vector::broadcast_pair(p));
  }
}

// The first k lanes from memory, zeros in the others.
template <class Elements>
QSL_INLINE typename Elements::Vector load_whole_rest(const typename Elements::Scalar* p, int k) {
  return typename Elements::Vector{load_rest<Elements>(p, k).v};
}

// The greatest lane, in all lanes.
QSL_INLINE f64x2 greatest_lane(f64x2 a) { return greater_of(a, swap_pairs(a)); }
template <class Vector>
QSL_INLINE Vector greatest_lane(Vector a) {
  const auto half = narrow(greatest_lane(greater_of(lower_half(a), upper_half(a))));
  return Vector::broadcast(f64{half.v});
}

// Which of the n elements at x is it? Two passes: the greatest magnitude, then its first place.
template <class Elements>
[[gnu::noinline]] int index_of_greatest(int n, const typename Elements::Scalar* x) {
  using Vector = typename Elements::Vector;
  constexpr int lanes = Vector::lanes;
  const int count = n * Elements::parts;
  Vector best = magnitude_at<Elements>(x);
  Vector other = best;
  int i = 0;
  for (; i + 2 * lanes <= count; i += 2 * lanes) {
    best = greater_of(magnitudes<Elements>(Vector::load(x + i)), best);
    other = greater_of(magnitudes<Elements>(Vector::load(x + i + lanes)), other);
  }
  best = greater_of(other, best);
  if (i + lanes <= count) {
    best = greater_of(magnitudes<Elements>(Vector::load(x + i)), best);
    i += lanes;
  }
  if constexpr (has_rest<Elements>) {
    // The lanes that are not there hold zeros, which are not greater than anything.
    if (i < count) {
      best = greater_of(magnitudes<Elements>(load_whole_rest<Elements>(x + i, count - i)), best);
    }
  }
  best = greatest_lane(best);
  const auto place = [&](int equal) QSL_INLINE_LAMBDA {
    return (i + __builtin_ctz(static_cast<unsigned>(equal))) / Elements::parts;
  };
  for (i = 0; i + lanes <= count; i += lanes) {
    const int equal = equal_lanes(magnitudes<Elements>(Vector::load(x + i)), best);
    if (equal != 0) return place(equal);
  }
  if constexpr (has_rest<Elements>) {
    if (i < count) {
      const auto rest = load_whole_rest<Elements>(x + i, count - i);
      const int equal = equal_lanes(magnitudes<Elements>(rest), best);
      if (equal != 0) return place(equal);
    }
  }
  return 0;  // a NaN came first
}

}  // namespace qsl::QSL_LEVEL
