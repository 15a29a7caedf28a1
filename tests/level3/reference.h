// The product by its definition: every element in a wider type, or all elements of a product of
// integers at once.
#pragma once

#include <cstddef>
#include <vector>

#include "tests/level3/operands.h"

namespace level3_test {

// Sums of products of all rows of A with all columns of B, and the sums of their sizes, which bound
// the error of a sum in any order.
template <class Sum>
class ProductSums {
 public:
  ProductSums(const Elements& a, const Elements& b);
  Sum re(int i, int j) const { return parts_[at(i, j)]; }
  Sum im(int i, int j) const { return complex_ ? parts_[at(i, j) + rows_] : 0; }
  double size(int i, int j) const { return sizes_[static_cast<std::size_t>(j) * rows_ + i]; }

 private:
  std::size_t at(int i, int j) const {
    return static_cast<std::size_t>(j) * rows_ * (complex_ ? 2 : 1) + i;
  }
  std::size_t rows_;
  bool complex_;
  // Column by column; in each the real parts before the imaginary ones.
  std::vector<Sum> parts_;
  std::vector<double> sizes_;
};

// One element of the product.
template <class Sum>
struct ElementSum {
  Sum re = 0, im = 0;
  double size = 0;
  ElementSum(const Elements& a, const Elements& b, int i, int j);
};

// X times a vector of complex integers, exact while everything is below 2^53.
struct Projection {
  std::vector<double> re, im;
};
Projection project(const Elements& x, const Projection& vector);
// Positive and different for neighbouring columns, so that no column hides another.
Projection weights(int count);

}  // namespace level3_test
