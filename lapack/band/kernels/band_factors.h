// The array of a band matrix and of its factors, and the division by a pivot.
#pragma once

#include "blas/level2/kernels/elements.h"
#include "blas/level2/kernels/groups.h"
#include "blas/level2/kernels/passes.h"
#include "blas/level3/kernels/factor.h"

namespace qsl::QSL_LEVEL {

template <class Register>
using BandFactor = typename ComplexElements<Register>::Factor;

// Moving one column to the right along a row moves ldab - 1 elements in the array: any part of it
// that lies within the bands is a dense matrix with that leading dimension.
template <class Elements, class Scalar = typename Elements::Scalar>
struct BandFactors {
  int n, kl, ku;
  Scalar* ab;
  int ldab;

  // Diagonals of U above the main one.
  QSL_INLINE int kv() const { return kl + ku; }
  QSL_INLINE int step() const { return ldab - 1; }
  QSL_INLINE Scalar* element(int i, int j) const {
    return at<Elements>(at<Elements>(ab, j, step()), i + kv());
  }
  // Multipliers of column j.
  QSL_INLINE int rows_below(int j) const { return kl < n - 1 - j ? kl : n - 1 - j; }
  // Elements of column j of U above the diagonal.
  QSL_INLINE int rows_above(int j) const { return kv() < j ? kv() : j; }
};

// A register, or a factor made of them, as one that multiplies registers of another width.
template <class Part, class Register>
QSL_INLINE Part part_of(Register x) {
  if constexpr (sizeof(Part) == sizeof x.v) {
    return {x.v};
  } else {
    return {narrow(x).v};
  }
}
template <class Part, class Factor>
QSL_INLINE auto factor_of(const Factor& by) {
  return BandFactor<Part>{part_of<Part>(by.real), part_of<Part>(by.imag)};
}

// Division by a complex number: a product with the reciprocal, conj(p) / |p|^2. A number whose
// square might overflow or lose bits is brought near 1 first, and so is every dividend, by a power
// of two.
class Division {
 public:
  QSL_INLINE explicit Division(const double* p) {
    const f64x2 number = f64x2::load(p);
    const f64x2 parts = absolute(number);
    const f64x2 size = greater_of(parts, swap_pairs(parts));
    const double greatest = f64{size.v}.value();
    scaled_ = !(greatest >= 0x1p-500 && greatest <= 0x1p500);
    if (scaled_) {
      set_scale(greatest);
      set_factor(number * f64x2::broadcast_from(&scale_));
    } else {
      set_factor(number);
    }
  }

  // body(quotient), where quotient(x) divides a register of numbers: a Register or a narrow one.
  template <class Register, class Body>
  QSL_INLINE void with(const Body& body) const {
    const auto by = ComplexElements<Register>::Factor::read(factor_);
    if (scaled_) {
      const Register scale = Register::broadcast_from(&scale_);
      body([&](auto x) QSL_INLINE_LAMBDA {
        return factor_of<decltype(x)>(by).times(x * part_of<decltype(x)>(scale));
      });
    } else {
      body([&](auto x) QSL_INLINE_LAMBDA { return factor_of<decltype(x)>(by).times(x); });
    }
  }

 private:
  QSL_INLINE void set_factor(f64x2 number) {
    const f64x2 squares = number * number;
    const f64x2 sum = squares + swap_pairs(squares);
    (negate_odd(number) / sum).store(factor_);
  }
  // 2^-e for a number of the order of 2^e, as far as such a power is a normal number.
  [[gnu::noinline, gnu::cold]] void set_scale(double greatest) {
    const auto* words = reinterpret_cast<const DoubleWords*>(&greatest);
    int exponent = 2046 - static_cast<int>(words->high >> 20);
    if (exponent < 1) exponent = 1;
    if (exponent > 2045) exponent = 2045;
    auto* scale = reinterpret_cast<DoubleWords*>(&scale_);
    scale->low = 0;
    scale->high = static_cast<std::uint32_t>(exponent) << 20;
  }

  double factor_[2];
  double scale_;
  bool scaled_;
};

}  // namespace qsl::QSL_LEVEL
