// Divisions by a number that many others are divided by. Three kinds, which differ in their bits
// and in what they survive:
//
//   set_quotient             R. L. Smith's form: a product with a number of moderate size and a
//                            division. Neither overflows or underflows before the result does. For
//                            triangular solves and small matrices.
//   set_plain_division       conj(d) / |d|^2 with |d|^2 as it comes: it overflows or underflows for
//                            a d beyond about 1e+-154. For the pivots of long columns, whose bits
//                            are promised to come about so wherever |d|^2 is a normal number
//                            (lapack/kernels/divide_column.h: the others take set_quotient).
//   ScaledDivision           the same for a d that is brought near 1 first where its square might
//                            overflow or lose bits. For the pivots of band matrices.
#pragma once

#include "elements/in_registers.h"
#include "elements/number_bits.h"

namespace qsl::QSL_LEVEL {

QSL_INLINE double magnitude(double x) { return x < 0 ? -x : x; }

// A division by d is a product with `diagonal` and a division by `divisor`. For a complex d both
// are of moderate size (R. L. Smith, "Algorithm 116: Complex division", Comm. ACM 5 (1962)).
template <class Type>
QSL_INLINE void set_quotient(const double* d, double* diagonal, double* divisor) {
  if constexpr (Type::parts == 1) {
    diagonal[0] = 1;
    *divisor = *d;
  } else {
    double re = d[0];
    double im = d[1];
    double one = 1;
    // The divisor is up to twice the greater part.
    if (magnitude(re) > 0x1p1022 || magnitude(im) > 0x1p1022) [[unlikely]] {
      one = 0.25;
      re *= one;
      im *= one;
    }
    if (magnitude(re) >= magnitude(im)) {
      const double ratio = im / re;
      diagonal[0] = one;
      diagonal[1] = -ratio * one;
      *divisor = re + im * ratio;
    } else {
      const double ratio = re / im;
      diagonal[0] = ratio * one;
      diagonal[1] = -one;
      *divisor = im + re * ratio;
    }
  }
}

// A division by d is a product with `conjugate` and a division by `square`, |d|^2; for a real d by
// d itself.
template <class Type>
QSL_INLINE void set_plain_division(const double* d, double* conjugate, double* square) {
  if constexpr (Type::parts == 1) {
    conjugate[0] = 1;
    *square = d[0];
  } else {
    conjugate[0] = d[0];
    conjugate[1] = -d[1];
    *square = d[0] * d[0] + d[1] * d[1];
  }
}

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
  return RegisterFactor<2, Part>{part_of<Part>(by.real), part_of<Part>(by.imag)};
}

// Division by a complex number: a product with the reciprocal, conj(p) / |p|^2. A number whose
// square might overflow or lose bits is brought near 1 first, and so is every dividend, by a power
// of two.
class ScaledDivision {
 public:
  QSL_INLINE explicit ScaledDivision(const double* p) {
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
    const auto by = RegisterFactor<2, Register>::read(factor_);
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
    const auto* words = reinterpret_cast<const DoubleBits*>(&greatest);
    int exponent = 2046 - static_cast<int>(words->high >> 20);
    if (exponent < 1) exponent = 1;
    if (exponent > 2045) exponent = 2045;
    auto* scale = reinterpret_cast<DoubleBits*>(&scale_);
    scale->low = 0;
    scale->high = static_cast<std::uint32_t>(exponent) << 20;
  }

  double factor_[2];
  double scale_;
  bool scaled_;
};

}  // namespace qsl::QSL_LEVEL
