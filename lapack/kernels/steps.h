// The steps of an elimination in a small matrix in a buffer (elements/small_matrix.h).
//
// A step says where row k of the elimination is and what lies after it, and nothing of what is done
// there; the code of a step is written once for three kinds of them:
//   FixedStep   sizes and k are known to the compiler: straight-line code
//   RowStep     k and the registers of a column are known, the number of columns is not
//   LoopStep    only the lane of row k within its register is known: a loop
// Their names are the same. k() is the row, own() the register of a column that it lies in and
// `place` its number within that register; earlier_columns, later_columns and later_registers call
// their argument for what comes before and after.
#pragma once

#include "elements/small_matrix.h"

namespace qsl::QSL_LEVEL {

// Row k of an elimination in a matrix of n columns of `registers` registers. Its row is number
// `place` of its register.
template <int k_, int n, int registers, int register_rows>
struct FixedStep {
  static constexpr int place = k_ % register_rows;

  QSL_INLINE int k() const { return k_; }
  // The register that row k is in.
  QSL_INLINE int own() const { return k_ / register_rows; }
  QSL_INLINE bool is_last_row() const { return k_ + 1 == n; }
  QSL_INLINE bool is_last_column() const { return k_ + 1 == n; }
  template <class Body>
  QSL_INLINE void earlier_columns(const Body& body) const {
    unroll<k_>([&](auto c) QSL_INLINE_LAMBDA { body(c.value); });
  }
  // From column k + `after` on.
  template <int after, class Body>
  QSL_INLINE void later_columns(const Body& body) const {
    unroll<n - k_ - after>([&](auto c) QSL_INLINE_LAMBDA { body(k_ + after + c.value); });
  }
  template <class Body>
  QSL_INLINE void later_registers(const Body& body) const {
    constexpr int first = k_ / register_rows + 1;
    unroll<registers - first>([&](auto i) QSL_INLINE_LAMBDA { body(first + i.value); });
  }
};

// The same with a number of columns that is known at run time only; m <= the rows of the registers.
template <int k_, int registers, int register_rows>
struct RowStep {
  static constexpr int place = k_ % register_rows;
  int m, n;

  QSL_INLINE int k() const { return k_; }
  QSL_INLINE int own() const { return k_ / register_rows; }
  QSL_INLINE bool is_last_row() const { return k_ + 1 == m; }
  QSL_INLINE bool is_last_column() const { return k_ + 1 == n; }
  template <class Body>
  QSL_INLINE void earlier_columns(const Body& body) const {
    for (int c = 0; c < k_; c++) body(c);
  }
  template <int after, class Body>
  QSL_INLINE void later_columns(const Body& body) const {
    for (int c = k_ + after; c < n; c++) body(c);
  }
  template <class Body>
  QSL_INLINE void later_registers(const Body& body) const {
    constexpr int first = k_ / register_rows + 1;
    unroll<registers - first>([&](auto i) QSL_INLINE_LAMBDA { body(first + i.value); });
  }
};

// The same with nothing known but the lane.
template <int place_>
struct LoopStep {
  static constexpr int place = place_;
  int k_, own_, m, n, registers;

  QSL_INLINE int k() const { return k_; }
  QSL_INLINE int own() const { return own_; }
  QSL_INLINE bool is_last_row() const { return k_ + 1 == m; }
  QSL_INLINE bool is_last_column() const { return k_ + 1 == n; }
  template <class Body>
  QSL_INLINE void earlier_columns(const Body& body) const {
    for (int c = 0; c < k_; c++) body(c);
  }
  template <int after, class Body>
  QSL_INLINE void later_columns(const Body& body) const {
    for (int c = k_ + after; c < n; c++) body(c);
  }
  template <class Body>
  QSL_INLINE void later_registers(const Body& body) const {
    for (int i = own_ + 1; i < registers; i++) body(i);
  }
};

// body(step) for the rows of a square matrix, or of one of m by n.
template <class Elements, int n, class Body>
QSL_INLINE void fixed_steps(const Body& body) {
  constexpr int rows = rows_of_register<Elements>;
  unroll<n>([&](auto k) QSL_INLINE_LAMBDA {
    body(FixedStep<k.value, n, registers_for<Elements>(n), rows>{});
  });
}
template <class Elements, int registers, class Body>
QSL_INLINE void row_steps(int m, int n, const Body& body) {
  constexpr int rows = rows_of_register<Elements>;
  const int steps = m < n ? m : n;
  unroll<registers * rows>([&](auto k) QSL_INLINE_LAMBDA {
    if (k.value < steps) body(RowStep<k.value, registers, rows>{m, n});
  });
}
template <class Elements, class Body>
QSL_INLINE void loop_steps(int m, int n, const Body& body) {
  constexpr int rows = rows_of_register<Elements>;
  const int steps = m < n ? m : n;
  const int registers = registers_for<Elements>(m);
  for (int own = 0; own < registers; own++) {
    unroll<rows>([&](auto place) QSL_INLINE_LAMBDA {
      const int k = own * rows + place.value;
      if (k < steps) body(LoopStep<place.value>{k, own, m, n, registers});
    });
  }
}

}  // namespace qsl::QSL_LEVEL
