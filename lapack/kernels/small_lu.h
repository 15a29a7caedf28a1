// The LU factorisation of small matrices, right-looking: each pivot's rank-one update is done at
// once. Straight-line code for the square ones of order 1 to 7, a loop for all others up to 16.
#pragma once

#include "elements/division.h"
#include "elements/magnitude.h"
#include "lapack/kernels/divide_column.h"
#include "lapack/kernels/steps.h"

namespace qsl::QSL_LEVEL {

// What a step finds: the pivot's row, and its magnitude in all lanes.
template <class Elements>
struct Pivot {
  int row;
  typename Elements::Vector magnitude;
};

// A column in the buffer, of which `held` registers stay registers, too: the next step would wait
// for a load of what this one has stored (measured for order 3: 1.17 times the speed).
template <class Elements, int held>
class Column {
  using Vector = typename Elements::Vector;

 public:
  QSL_INLINE explicit Column(double* elements) : elements_(elements) {
    unroll<held>([&](auto i) QSL_INLINE_LAMBDA {
      registers_[i.value] = Vector::load_aligned(elements + i.value * Vector::lanes);
    });
  }
  QSL_INLINE double* elements() const { return elements_; }
  QSL_INLINE Vector get(int i) const { return registers_[i]; }
  QSL_INLINE void set(int i, Vector x) {
    registers_[i] = x;
    x.store_aligned(elements_ + i * Vector::lanes);
  }

 private:
  double* elements_;
  Vector registers_[held];
};
template <class Elements>
class Column<Elements, 0> {
  using Vector = typename Elements::Vector;

 public:
  QSL_INLINE explicit Column(double* elements) : elements_(elements) {}
  QSL_INLINE double* elements() const { return elements_; }
  QSL_INLINE Vector get(int i) const { return Vector::load_aligned(elements_ + i * Vector::lanes); }
  QSL_INLINE void set(int i, Vector x) { x.store_aligned(elements_ + i * Vector::lanes); }

 private:
  double* elements_;
};

// The first of the greatest magnitude from row k on. A NaN in row k stays.
template <class Elements, class Step, int held>
QSL_INLINE Pivot<Elements> find_pivot(const Step& step, const Column<Elements, held>& column) {
  using Vector = typename Elements::Vector;
  constexpr int lanes = Vector::lanes;
  constexpr int first_lane = Step::place * Elements::parts;
  const auto magnitudes_of = [&](int i)
                                 QSL_INLINE_LAMBDA { return magnitudes<Elements>(column.get(i)); };
  const Vector all = magnitudes_of(step.own());
  const Vector candidate = broadcast_lane<first_lane>(all);
  if (step.is_last_row()) return {step.k(), candidate};
  const Vector own = from_lane<first_lane>(all, candidate);
  Vector best = greater_of(own, candidate);
  step.later_registers([&](int i) QSL_INLINE_LAMBDA { best = greater_of(magnitudes_of(i), best); });
  best = greatest_lane(best);
  // The lanes of the registers that are searched: 32 of them at most.
  unsigned equal = static_cast<unsigned>(equal_lanes(own, best)) >> first_lane << first_lane;
  int shift = lanes;
  step.later_registers([&](int i) QSL_INLINE_LAMBDA {
    equal |= static_cast<unsigned>(equal_lanes(magnitudes_of(i), best)) << shift;
    shift += lanes;
  });
  if (equal == 0) return {step.k(), candidate};
  return {step.own() * rows_of_register<Elements> + __builtin_ctz(equal) / Elements::parts, best};
}

// All ones in the lanes of one row of a column, as a window on a table.
template <int parts>
struct RowMasks {
  static constexpr int rows = 16;
  long long ones[2 * rows * parts];

  constexpr RowMasks() : ones{} {
    for (int part = 0; part < parts; part++) ones[rows * parts + part] = -1;
  }
};
template <int parts>
inline constexpr RowMasks<parts> row_masks;

// The exchange of row k with the pivot's row, in registers: storing single elements and loading
// whole registers over them would stall each step.
template <class Elements>
class Exchange {
  using Vector = typename Elements::Vector;

 public:
  QSL_INLINE explicit Exchange(int row)
      : row_(row * Elements::parts),
        masks_(reinterpret_cast<const double*>(row_masks<Elements::parts>.ones) +
               RowMasks<Elements::parts>::rows * Elements::parts - row_) {}

  // Register i of a column, with `kept` in the pivot's row.
  template <int held>
  QSL_INLINE Vector exchanged(int i, const Column<Elements, held>& column, Vector kept) const {
    return select_by_lanes(Vector::load(masks_ + i * Vector::lanes), kept, column.get(i));
  }
  template <int held>
  QSL_INLINE const double* element(const Column<Elements, held>& column) const {
    return column.elements() + row_;
  }

 private:
  int row_;
  const double* masks_;
};

template <class Elements>
QSL_INLINE auto in_all_rows(const double* element) {
  using Vector = typename Elements::Vector;
  if constexpr (Elements::parts == 1) {
    return Vector::broadcast_from(element);
  } else {
    return Vector::broadcast_pair(element);
  }
}

// Row k and the rows below it in a column: row k takes the pivot row's element, the others
// below(register, what stands there after the exchange).
template <class Elements, class Step, int held, class Below>
QSL_INLINE void replace_rows(const Step& step, const Exchange<Elements>& exchange,
                             Column<Elements, held>& column, const Below& below) {
  using Vector = typename Elements::Vector;
  constexpr int lanes = Vector::lanes;
  constexpr int first = Step::place * Elements::parts;
  constexpr int after = first + Elements::parts;
  const Vector kept = in_all_rows<Elements>(column.elements() + step.k() * Elements::parts);
  const Vector taken = in_all_rows<Elements>(exchange.element(column));
  Vector result = from_lane<first>(taken, column.get(step.own()));
  if constexpr (after < lanes) {
    const Vector rows = below(step.own(), exchange.exchanged(step.own(), column, kept));
    result = from_lane<after>(rows, result);
  }
  step.later_registers([&](int i) QSL_INLINE_LAMBDA {
    column.set(i, below(i, exchange.exchanged(i, column, kept)));
  });
  column.set(step.own(), result);
}

// |p| of a complex p; nothing is scaled.
QSL_INLINE f64 modulus(const double* p) {
  const f64 re = f64::load(p);
  const f64 im = f64::load(p + 1);
  return square_root(re * re + im * im);
}

// The multipliers of column k. A pivot above the safe minimum gives a reciprocal; a real one's is
// taken of its magnitude, which is known before its place is.
template <class Elements, class Step, int held>
QSL_INLINE void divide_below(const Step& step, const Exchange<Elements>& exchange,
                             const Pivot<Elements>& pivot, Column<Elements, held>& column) {
  using Vector = typename Elements::Vector;
  const double* element = exchange.element(column);
  const f64 safe = {_mm_set_sd(safe_minimum)};
  const auto replace = [&](const auto& quotient) QSL_INLINE_LAMBDA {
    replace_rows<Elements>(step, exchange, column,
                           [&](int, Vector x) QSL_INLINE_LAMBDA { return quotient(x); });
  };
  if constexpr (Elements::parts == 1) {
    const Vector divisor = Vector::broadcast_from(element);
    if (f64{narrow(pivot.magnitude).v} > safe) {
      const f64 reciprocal = f64{_mm_set_sd(1.0)} / f64{narrow(pivot.magnitude).v};
      const Vector by = with_sign_of(Vector::broadcast(reciprocal), divisor);
      replace([&](Vector x) QSL_INLINE_LAMBDA { return x * by; });
    } else {
      replace([&](Vector x) QSL_INLINE_LAMBDA { return x / divisor; });
    }
  } else {
    double diagonal[2];
    double divisor[1];
    set_quotient<Elements>(element, diagonal, divisor);
    const auto by = Elements::template FactorIn<Vector>::read(diagonal);
    if (modulus(element) > safe) {
      const Vector reciprocal = Vector::broadcast(f64{_mm_set_sd(1.0)} / f64::load(divisor));
      replace([&](Vector x) QSL_INLINE_LAMBDA { return by.times(x) * reciprocal; });
    } else {
      const Vector last = Vector::broadcast_from(divisor);
      replace([&](Vector x) QSL_INLINE_LAMBDA { return by.times(x) / last; });
    }
  }
}

// One step; `column` is column k, and becomes the next one.
template <class Elements, int stride, int held, class Step>
QSL_INLINE void lu_step(const Step& step, double* at, int* ipiv, int& first_zero,
                        Column<Elements, held>& column) {
  using Vector = typename Elements::Vector;
  constexpr int parts = Elements::parts;
  const int k = step.k();
  const Pivot<Elements> pivot = find_pivot<Elements>(step, column);
  ipiv[k] = pivot.row + 1;
  const bool zero = is_zero<Elements>(column.elements() + pivot.row * parts);
  if (zero && first_zero == 0) first_zero = k + 1;
  if (step.is_last_row()) return;
  const int row = zero ? k : pivot.row;
  const Exchange<Elements> exchange(row);
  if (!zero) divide_below<Elements>(step, exchange, pivot, column);
  const auto update = [&](auto& later) QSL_INLINE_LAMBDA {
    const auto by = Elements::template FactorIn<Vector>::read(exchange.element(later)).negated();
    replace_rows<Elements>(step, exchange, later, [&](int i, Vector x) QSL_INLINE_LAMBDA {
      return by.times_plus(column.get(i), x);
    });
  };
  const auto update_column = [&](int c) QSL_INLINE_LAMBDA {
    Column<Elements, 0> later(at + c * stride * parts);
    update(later);
  };
  double* next_elements = at + (k + 1) * stride * parts;
  if constexpr (held == 0) {
    step.template later_columns<1>(update_column);
    column = Column<Elements, 0>(next_elements);
  } else if (!step.is_last_column()) {
    Column<Elements, held> next(next_elements);
    update(next);
    step.template later_columns<2>(update_column);
    column = next;
  }
  // A row may be exchanged with itself: cheaper than a branch that is as good as random.
  step.earlier_columns([&](int c) QSL_INLINE_LAMBDA {
    double* kept = at + (c * stride + k) * parts;
    double* other = at + (c * stride + row) * parts;
    const auto element = Elements::load_one(kept);
    Elements::store_one(kept, Elements::load_one(other));
    Elements::store_one(other, element);
  });
}

// So many registers of a column are held: two columns of them leave room for the operands.
template <class Elements, int registers>
inline constexpr int held_registers = registers <= 2 ? registers : 0;

inline constexpr int largest_small_order = 16;
inline constexpr int largest_fixed_order = 7;

// (All with the arguments of the routine: the call becomes a jump.)

// Any size; `registers` is the number of them in a column, or 0 for one that is not compiled for.
template <class Elements, int registers>
[[gnu::noinline]] void lu_loop(int m, int n, double* a, int lda, int* ipiv, int* info) {
  constexpr int stride = largest_small_order;
  constexpr int parts = Elements::parts;
  if (m > largest_small_order || n > largest_small_order) __builtin_unreachable();
  alignas(Elements::Vector::bytes) double at[largest_small_order * stride * parts];
  for (int j = 0; j < n; j++) {
    copy_to_buffer<Elements>(m, a + j * lda * parts, at + j * stride * parts);
  }
  int first_zero = 0;
  Column<Elements, held_registers<Elements, registers>> column(at);
  const auto body = [&](const auto& step) QSL_INLINE_LAMBDA {
    lu_step<Elements, stride>(step, at, ipiv, first_zero, column);
  };
  if constexpr (registers == 0) {
    loop_steps<Elements>(m, n, body);
  } else {
    row_steps<Elements, registers>(m, n, body);
  }
  for (int j = 0; j < n; j++) {
    copy_from_buffer<Elements>(m, at + j * stride * parts, a + j * lda * parts);
  }
  *info = first_zero;
}

template <class Elements, int n>
[[gnu::noinline]] void lu_fixed(int, int, double* a, int lda, int* ipiv, int* info) {
  constexpr int parts = Elements::parts;
  constexpr int stride = registers_for<Elements>(n) * rows_of_register<Elements>;
  alignas(Elements::Vector::bytes) double at[n * stride * parts];
  unroll<n>([&](auto j) QSL_INLINE_LAMBDA {
    copy_to_buffer<Elements>(n, a + j.value * lda * parts, at + j.value * stride * parts);
  });
  int first_zero = 0;
  Column<Elements, held_registers<Elements, registers_for<Elements>(n)>> column(at);
  fixed_steps<Elements, n>([&](const auto& step) QSL_INLINE_LAMBDA {
    lu_step<Elements, stride>(step, at, ipiv, first_zero, column);
  });
  unroll<n>([&](auto j) QSL_INLINE_LAMBDA {
    copy_from_buffer<Elements>(n, at + j.value * stride * parts, a + j.value * lda * parts);
  });
  *info = first_zero;
}

template <class Elements>
QSL_INLINE void lu_small(int m, int n, double* a, int lda, int* ipiv, int* info) {
  if (m == n && n >= 1 && n <= largest_fixed_order) {
    return at_index<1, largest_fixed_order>(n, [&](auto order) QSL_INLINE_LAMBDA {
      constexpr int fixed = order.value;
      return lu_fixed<FittingRows<Elements, fixed>, fixed>(m, n, a, lda, ipiv, info);
    });
  }
  if (m <= 0 || n <= 0) {
    *info = 0;
    return;
  }
  // Where a column takes four registers at most, each number of them has its own code (measured:
  // 1.2 to 1.4 times the speed).
  if constexpr (registers_for<Elements>(largest_small_order) > 4) {
    return lu_loop<Elements, 0>(m, n, a, lda, ipiv, info);
  } else {
    return at_index<1, 4>(registers_for<Elements>(m), [&](auto registers) QSL_INLINE_LAMBDA {
      return lu_loop<Elements, registers.value>(m, n, a, lda, ipiv, info);
    });
  }
}

}  // namespace qsl::QSL_LEVEL
