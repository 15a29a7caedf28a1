// A group of matrices in the compact format, as kernels see it: some of its lanes in registers.
#pragma once

#include "simd/level.h"

namespace qsl::QSL_LEVEL {

// The widest vector that a group of so many matrices fills.
template <int size>
struct CompactVector;
template <>
struct CompactVector<1> {
  using Type = f64x2;  // both lanes the same
};
template <>
struct CompactVector<2> {
  using Type = f64x2;
};
template <>
struct CompactVector<4> {
  using Type = Within256<double>;
};
template <>
struct CompactVector<8> {
  using Type = Widest<double>;
};

// The same element of V::lanes matrices.
template <class V>
struct CompactNumber {
  V re, im;
};

// x - a * b
template <class V>
QSL_INLINE CompactNumber<V> take_product(CompactNumber<V> x, CompactNumber<V> a,
                                         CompactNumber<V> b) {
  x.re = neg_mul_add(a.re, b.re, x.re);
  x.im = neg_mul_add(a.re, b.im, x.im);
  x.re = mul_add(a.im, b.im, x.re);
  x.im = neg_mul_add(a.im, b.re, x.im);
  return x;
}

template <class V>
QSL_INLINE CompactNumber<V> operator*(CompactNumber<V> a, CompactNumber<V> b) {
  return {neg_mul_add(a.im, b.im, a.re * b.re), mul_add(a.im, b.re, a.re * b.im)};
}

// 1 / p as conj(p) / |p|^2.
template <class V>
QSL_INLINE CompactNumber<V> plain_reciprocal(CompactNumber<V> p) {
  const V square = mul_add(p.re, p.re, p.im * p.im);
  return {p.re / square, negate(p.im) / square};
}

// 1 / p with the smaller part divided by the greater one first, so that no square overflows
// (R. L. Smith, "Algorithm 116: Complex division", Comm. ACM 5 (1962)).
template <class V>
QSL_INLINE CompactNumber<V> smith_reciprocal(CompactNumber<V> p) {
  const auto by_real = absolute(p.re) >= absolute(p.im);
  const V greater = select(by_real, p.re, p.im);
  const V ratio = select(by_real, p.im, p.re) / greater;
  const V inverse = V::constant(1) / mul_add(select(by_real, p.im, p.re), ratio, greater);
  const V other = ratio * inverse;
  return {select(by_real, inverse, other), negate(select(by_real, other, inverse))};
}

// Groups of `size` matrices. Their numbers lie at addresses of doubles: the real parts at p, the
// imaginary ones `size` further on. A pass works on V::lanes of the matrices.
template <int size_>
struct CompactGroup {
  static constexpr int size = size_;
  using V = typename CompactVector<size>::Type;
  using Number = CompactNumber<V>;
  static constexpr int unit = 2 * size;  // doubles of an element
  // Whether a register holds a whole group and no more.
  static constexpr bool is_native = size == Widest<double>::lanes;

  QSL_INLINE static Number load(const double* p) { return {load_part(p), load_part(p + size)}; }
  QSL_INLINE static void store(double* p, Number x) {
    store_part(p, x.re);
    store_part(p + size, x.im);
  }
  template <bool conjugate>
  QSL_INLINE static Number load_as(const double* p) {
    Number x = load(p);
    if constexpr (conjugate) x.im = negate(x.im);
    return x;
  }

 private:
  QSL_INLINE static V load_part(const double* p) {
    if constexpr (size == 1) {
      return V::broadcast_from(p);
    } else {
      return V::load(p);
    }
  }
  QSL_INLINE static void store_part(double* p, V x) {
    if constexpr (size == 1) {
      f64{x.v}.store(p);
    } else {
      x.store(p);
    }
  }
};

// body(CompactGroup<size>{}) for the index of a format with vectors; otherwise nothing.
template <class Body>
QSL_INLINE void with_compact_vectors(int format, const Body& body) {
  if (format == 0) return body(CompactGroup<2>{});
  if (format == 1) return body(CompactGroup<4>{});
  if (format == 2) return body(CompactGroup<8>{});
}

// The same for any index, of which the others mean groups of one.
template <class Body>
QSL_INLINE void with_compact_group(int format, const Body& body) {
  if (format < 0 || format > 2) return body(CompactGroup<1>{});
  with_compact_vectors(format, body);
}

// Groups that nm matrices take.
QSL_INLINE int compact_groups(int nm, int size) { return nm <= 0 ? 0 : (nm - 1) / size + 1; }

}  // namespace qsl::QSL_LEVEL
