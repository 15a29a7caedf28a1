// Substitution with a triangle of order 8 or less, one right-hand side at a time, its elements in
// registers from the first to the last step: straight-line code for each order.
//
// The triangle is first copied to the stack, its columns padded to whole registers. A value that is
// found is eliminated from those that follow.
#pragma once

#include "elements/division.h"
#include "elements/small_matrix.h"

namespace qsl::QSL_LEVEL {

inline constexpr int largest_triangle_in_registers = 8;

// What becomes of an element on the diagonal.
enum class Diagonal { unit, divide, reciprocal };

template <class AnyElements, int n_>
struct SmallTriangle {
  using Elements = FittingRows<AnyElements, n_>;
  using Vector = typename Elements::Vector;
  static constexpr int n = n_;
  static constexpr int parts = Elements::parts;
  static constexpr int lanes = Vector::lanes;
  static constexpr int rows = rows_of_register<Elements>;
  static constexpr int registers = registers_for<Elements>(n);
  static constexpr int stride = registers * lanes;

  alignas(Vector::bytes) double at[n * stride];
  // A division by the diagonal is a product with `diagonal`, for complex numbers, and a division by
  // `divisor`; or, where that is safe, a product with `reciprocals`.
  double diagonal[n * 2];
  double divisor[n];
  alignas(Vector::bytes) double reciprocals[stride];

  using Column = Vector[registers];

  QSL_INLINE void read(const double* a, int lda) {
    unroll<n>([&](auto j) QSL_INLINE_LAMBDA {
      copy_to_buffer<Elements>(n, a + j.value * lda * parts, at + j.value * stride);
    });
  }

  QSL_INLINE void set_divisors() {
    for (int k = 0; k < n; k++) {
      set_quotient<Elements>(at + k * stride + k * parts, diagonal + 2 * k, divisor + k);
    }
  }
  // The reciprocals of the diagonal. Not when one of them is not a normal number.
  QSL_INLINE bool set_reciprocals() {
    constexpr double least = 0x1p-1000;
    constexpr double most = 0x1p1000;
    for (int k = 0; k < n; k++) {
      const double size = magnitude(divisor[k]);
      if (!(size > least && size < most)) return false;
    }
    for (int i = 0; i < stride; i++) reciprocals[i] = 0;
    for (int k = 0; k < n; k++) {
      for (int part = 0; part < parts; part++) {
        reciprocals[k * parts + part] = diagonal[2 * k + part] / divisor[k];
      }
    }
    return true;
  }
  template <Diagonal kind, int k>
  QSL_INLINE void finish_element(Column& x) const {
    if constexpr (kind != Diagonal::unit) {
      Vector& own = x[k / rows];
      Vector value = own;
      if constexpr (kind == Diagonal::reciprocal) {
        // Only now, after the last subtraction: rows or right-hand sides that are divided before
        // may overflow where the result does not.
        value = product<Elements>(value, Vector::load_aligned(reciprocals + k / rows * lanes));
      } else {
        if constexpr (parts == 2) {
          value = Elements::template FactorIn<Vector>::read(diagonal + 2 * k).times(value);
        }
        value = value / Vector::broadcast_from(divisor + k);
      }
      constexpr int first = k % rows * parts;
      own = from_lane<first>(up_to_lane<first + parts>(value, own), own);
    }
  }

  template <Diagonal kind>
  QSL_INLINE void forward(Column& x) const {
    unroll<n>([&](auto k) QSL_INLINE_LAMBDA {
      constexpr int own = k.value / rows;
      constexpr int after = (k.value % rows + 1) * parts;
      finish_element<kind, k.value>(x);
      if constexpr (k.value + 1 < n) {
        const double* column = at + k.value * stride;
        const auto by = Elements::Factor::template of<k.value % rows>(x[own]);
        if constexpr (after < lanes) {
          const Vector l = Vector::load_aligned(column + own * lanes);
          x[own] = from_lane<after>(by.taken_from(x[own], l), x[own]);
        }
        unroll<registers - own - 1>([&](auto i) QSL_INLINE_LAMBDA {
          Vector& below = x[own + 1 + i.value];
          const Vector l = Vector::load_aligned(column + (own + 1 + i.value) * lanes);
          below = by.taken_from(below, l);
        });
      }
    });
  }

  template <Diagonal kind>
  QSL_INLINE void backward(Column& x) const {
    unroll<n>([&](auto from_end) QSL_INLINE_LAMBDA {
      constexpr int k = n - 1 - from_end.value;
      constexpr int own = k / rows;
      constexpr int before = k % rows * parts;
      finish_element<kind, k>(x);
      if constexpr (k > 0) {
        const double* column = at + k * stride;
        const auto by = Elements::Factor::template of<k % rows>(x[own]);
        if constexpr (before > 0) {
          const Vector u = Vector::load_aligned(column + own * lanes);
          x[own] = up_to_lane<before>(by.taken_from(x[own], u), x[own]);
        }
        unroll<own>([&](auto i) QSL_INLINE_LAMBDA {
          const Vector u = Vector::load_aligned(column + i.value * lanes);
          x[i.value] = by.taken_from(x[i.value], u);
        });
      }
    });
  }

  // Right-hand sides in memory, whole or a register of them.
  template <int i>
  QSL_INLINE static Vector load_register(const double* b) {
    constexpr int left = n * parts - i * lanes;
    if constexpr (left >= lanes) {
      return Vector::load(b + i * lanes);
    } else {
      return Vector{load_rest<Elements>(b + i * lanes, left).v};
    }
  }
  template <int i>
  QSL_INLINE static void store_register(Vector x, double* b) {
    constexpr int left = n * parts - i * lanes;
    if constexpr (left >= lanes) {
      x.store(b + i * lanes);
    } else {
      store_rest<Elements>(b + i * lanes, x, left);
    }
  }
  QSL_INLINE static void load(const double* b, Column& x) {
    unroll<registers>([&](auto i) QSL_INLINE_LAMBDA { x[i.value] = load_register<i.value>(b); });
  }
  QSL_INLINE static void store(const Column& x, double* b) {
    unroll<registers>([&](auto i) QSL_INLINE_LAMBDA { store_register<i.value>(x[i.value], b); });
  }
};

// Left, lower and unit, or left, upper and not unit: the two triangles of a factorisation, with
// many right-hand sides.
template <class Elements, int n, bool lower>
[[gnu::noinline]] bool solve_triangle_in_registers(int count, const double* a, int lda, double* b,
                                                   int ldb) {
  using Triangle = SmallTriangle<Elements, n>;
  Triangle t;
  t.read(a, lda);
  if constexpr (!lower) {
    t.set_divisors();
    if (!t.set_reciprocals()) return false;
  }
  for (; count > 0; count--) {
    keep(count);
    typename Triangle::Column x;
    Triangle::load(b, x);
    if constexpr (lower) {
      t.template forward<Diagonal::unit>(x);
    } else {
      t.template backward<Diagonal::reciprocal>(x);
    }
    Triangle::store(x, b);
    b += ldb * Triangle::parts;
  }
  return true;
}

template <class Elements, bool lower>
QSL_INLINE bool solve_few_rows(int order, int count, const double* a, int lda, double* b, int ldb) {
  return at_index<1, largest_triangle_in_registers>(order, [&](auto n) QSL_INLINE_LAMBDA {
    return solve_triangle_in_registers<Elements, n.value, lower>(count, a, lda, b, ldb);
  });
}

}  // namespace qsl::QSL_LEVEL
