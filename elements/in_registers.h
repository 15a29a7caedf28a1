// Elements of a type as lanes of a register: InRegisters<Type, Vector>.
//
// Real and complex elements have the same names, so that each kernel is written once:
//   Type's names            Element, Scalar, parts (lanes of an element)
//   columns                 columns of a pass: as many as eight registers bear
//   Narrow                  the 128-bit register, in which the passes over vectors are done
//   Factor                  one number, made ready to multiply registers of elements (product.h)
//   Multiplier, Sum         a sum of products that is put together at its end only
//
// A complex Sum keeps the products with real parts and those with imaginary parts apart, which
// spares the inner loops every shuffle of matrix elements.
#pragma once

#include "elements/product.h"

namespace qsl::QSL_LEVEL {

// The first lanes of a register, as 128 bits.
template <class Vector>
QSL_INLINE auto narrow(Vector a) {
  if constexpr (Vector::bytes == 16) {
    return a;
  } else {
    return narrow(lower_half(a));
  }
}
// The 128-bit parts of a register, summed: its halves onto each other.
template <class Vector>
QSL_INLINE auto sum_to_narrow(Vector a) {
  if constexpr (Vector::bytes == 16) {
    return a;
  } else {
    return sum_to_narrow(sum_halves(a));
  }
}

template <class Type, class Vector, int parts = Type::parts>
struct InRegisters;

template <class Type_, class Vector_>
struct InRegisters<Type_, Vector_, 1> : Type_ {
  using Type = Type_;
  using Vector = Vector_;
  using Scalar = typename Type::Scalar;
  using Narrow = decltype(narrow(Vector::zero()));
  static constexpr int columns = 4;

  template <class Register>
  using FactorIn = RegisterFactor<1, Register>;
  using Factor = FactorIn<Vector>;

  struct Multiplier {
    Vector value;
  };
  // Multiplies the elements of a column.
  QSL_INLINE static Multiplier multiplier(const Scalar* factor) {
    return {Vector::broadcast_from(factor)};
  }
  // Multiplies elements of a column, each by its own element of x, which is loaded once: the
  // compiler would take it from memory for every column, since a load goes with a product for free.
  QSL_INLINE static Multiplier multiplier_of(Vector x) {
    asm("" : "+x"(x.v));
    return {x};
  }

  struct Sum {
    Vector value;

    QSL_INLINE static Sum from(Vector start) { return {start}; }
    QSL_INLINE void add(Vector a, Multiplier by) { value = mul_add(a, by.value, value); }
    QSL_INLINE void add(Sum other) { value = value + other.value; }
    // The sum of each lane, for multipliers that are factors.
    QSL_INLINE Vector lanes() const { return value; }
  };
  // The sums over all elements, for multipliers that are elements. (Two together take fewer
  // instructions than one after another.)
  template <int count>
  QSL_INLINE static void store_totals(Scalar* totals, const Sum* sums, bool) {
    if constexpr (count == 1) {
      sum_lanes(sums[0].value).store(totals);
    } else {
      unroll<count / 2>([&](auto pair) QSL_INLINE_LAMBDA {
        constexpr int i = 2 * pair.value;
        sum_lanes(sum_to_narrow(sums[i].value), sum_to_narrow(sums[i + 1].value)).store(totals + i);
      });
    }
  }

  QSL_INLINE static Narrow load_one(const Scalar* p) { return Narrow::load_rest(p, 1); }
  QSL_INLINE static void store_one(Scalar* p, Narrow x) { x.store_rest(p, 1); }
};

template <class Type_, class Vector_>
struct InRegisters<Type_, Vector_, 2> : Type_ {
  using Type = Type_;
  using Vector = Vector_;
  using Scalar = typename Type::Scalar;
  using Narrow = decltype(narrow(Vector::zero()));
  static constexpr int columns = 2;

  template <class Register>
  using FactorIn = RegisterFactor<2, Register>;
  using Factor = FactorIn<Vector>;

  struct Multiplier {
    Vector real;
    Vector imag;
  };
  // The signs are in the multiplier: (fi, -fi), for (ar, ai) * (fi, -fi) swapped is a term.
  QSL_INLINE static Multiplier multiplier(const Scalar* factor) {
    const Vector pairs = Vector::broadcast_pair(factor);
    return {dup_even(pairs), negate_odd(dup_odd(pairs))};
  }
  // The signs are left to the total.
  QSL_INLINE static Multiplier multiplier_of(Vector x) { return {dup_even(x), dup_odd(x)}; }

  struct Sum {
    Vector real;
    Vector imag;

    QSL_INLINE static Sum from(Vector start) { return {start, Vector::zero()}; }
    QSL_INLINE void add(Vector a, Multiplier by) {
      real = mul_add(a, by.real, real);
      imag = mul_add(a, by.imag, imag);
    }
    QSL_INLINE void add(Sum other) {
      real = real + other.real;
      imag = imag + other.imag;
    }
    QSL_INLINE Vector lanes() const { return real + swap_pairs(imag); }
  };
  // With the sums r = (ar * xr, ai * xr) and i = (ar * xi, ai * xi) over all elements:
  //   a * x = (r0 - i1, r1 + i0),  conj(a) * x = (r0 + i1, i0 - r1)
  template <int count>
  QSL_INLINE static void store_totals(Scalar* totals, const Sum* sums, bool conjugate) {
    unroll<count>([&](auto at) QSL_INLINE_LAMBDA {
      const Narrow r = sum_to_pair(sums[at.value].real);
      const Narrow i = sum_to_pair(sums[at.value].imag);
      store_one(totals + at.value * Type::parts,
                conjugate ? swap_pairs(add_sub(i, swap_pairs(r))) : complex_sum(r, i));
    });
  }

  QSL_INLINE static Narrow sum_to_pair(Vector a) {
    if constexpr (Narrow::lanes == 2) {
      return sum_to_narrow(a);
    } else {
      return sum_pairs(sum_to_narrow(a));
    }
  }

  QSL_INLINE static Narrow load_one(const Scalar* p) {
    if constexpr (Narrow::lanes == 2) {
      return Narrow::load(p);
    } else {
      return Narrow::load_pair(p);
    }
  }
  QSL_INLINE static void store_one(Scalar* p, Narrow x) {
    if constexpr (Narrow::lanes == 2) {
      x.store(p);
    } else {
      x.store_pair(p);
    }
  }
};

}  // namespace qsl::QSL_LEVEL
