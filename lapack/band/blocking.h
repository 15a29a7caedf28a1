// When a band matrix is factored in blocks, and the work area that this takes.
#pragma once

#include <cstddef>

namespace qsl::lapack {

// Columns of a block. (16 and 48 were slower with bands of 100 and of 200, 32 was as fast.)
inline constexpr int gbtrf_block = 24;
// The elements that a step of the elimination updates: from so many on they do not stay in the
// second-level cache until the next step. (With equal widths blocks begin to pay at 80.)
inline constexpr unsigned long long gbtrf_least_elements = 12800;
// Below, the matrix products of a block are too small.
inline constexpr int gbtrf_least_rows = 32;

// Elements of the work area: the multipliers of a block, and its rows of U. 0: no blocks.
inline unsigned long long gbtrf_work_elements(int n, int kl, int ku) {
  const auto within = [n](unsigned long long width) {
    return width < static_cast<unsigned>(n) ? width : static_cast<unsigned>(n);
  };
  const unsigned long long below = within(static_cast<unsigned>(kl));
  const unsigned long long right =
      within(static_cast<unsigned>(kl) + 0ull + static_cast<unsigned>(ku));
  if (below < gbtrf_least_rows || below * right < gbtrf_least_elements) return 0;
  return (below + gbtrf_block + right) * gbtrf_block;
}

}  // namespace qsl::lapack
