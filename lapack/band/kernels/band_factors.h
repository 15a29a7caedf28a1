// The array of a band matrix and of its factors.
#pragma once

#include "elements/apply_factor.h"
#include "elements/groups.h"
#include "elements/in_registers.h"
#include "elements/passes.h"

namespace qsl::QSL_LEVEL {

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

}  // namespace qsl::QSL_LEVEL
