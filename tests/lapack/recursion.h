// How the blocked factorisations cut a matrix, told by the tables alone.
#pragma once

#include <vector>

namespace lapack_test {

// Block sizes up to so many columns.
struct BlockSize {
  int columns, real, complex;
};
inline constexpr int kAnySize = 0x7fffffff;

// The table of a processor type.
const std::vector<BlockSize>& block_sizes(int type);
int block_size(int type, int rows, int columns, bool complex = false);

// The columns that are reached after each unblocked part.
std::vector<int> real_steps(int type, int m, int n);
std::vector<int> complex_steps(int m, int n);

}  // namespace lapack_test
