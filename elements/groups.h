// Dividing a matrix: groups of columns that a kernel takes together, blocks that stay in the cache.
#pragma once

#include <cstddef>

#include "simd/inline.h"

namespace qsl::QSL_LEVEL {

constexpr int round_up(int value, int multiple) {
  return (value + multiple - 1) / multiple * multiple;
}

// body(Index<group>{}, j) for each group of columns j, j + 1, ...; then for half of a group and so
// on, down to single columns.
template <int group, class Body>
QSL_INLINE void in_groups(int n, const Body& body, int j = 0) {
  for (; n - j >= group; j += group) body(Index<group>{}, j);
  if constexpr (group > 1) in_groups<group / 2>(n, body, j);
}

// body(start, count) for each block.
template <class Body>
QSL_INLINE void in_blocks(int n, int block, const Body& body) {
  for (int start = 0; start < n; start += block) {
    const int left = n - start;
    body(start, left < block ? left : block);
  }
}

// The element i of a vector, or column i of a matrix with its leading dimension as `step`.
// Addresses are computed modulo 2^32, as everywhere.
template <class Elements, class Scalar>
QSL_INLINE Scalar* at(Scalar* base, int i, int step = 1) {
  return base + static_cast<std::size_t>(i) * static_cast<std::size_t>(step) * Elements::parts;
}

// Elements in a buffer on the stack. Together with a frame's other contents it is smaller than a
// page, so that no system needs a probe of the stack before it.
template <class Elements>
inline constexpr int buffer_elements = static_cast<int>(3584 / sizeof(typename Elements::Scalar) /
                                                        Elements::parts);
// Factors of columns that are made ready at a time.
inline constexpr int factor_block = 128;
// Rows of a block: what is reused for every column stays in the first-level cache.
template <class Elements>
inline constexpr int row_block = static_cast<int>(16384 / sizeof(typename Elements::Scalar) /
                                                  Elements::parts);

}  // namespace qsl::QSL_LEVEL
