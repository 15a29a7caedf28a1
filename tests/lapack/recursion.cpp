#include "tests/lapack/recursion.h"

#include <algorithm>

namespace lapack_test {

const std::vector<BlockSize>& block_sizes(int type) {
  static const std::vector<BlockSize> above_7 = {
      {2000, 48, 48}, {4000, 96, 96}, {6000, 224, 96}, {14000, 224, 224}, {kAnySize, 336, 336},
  };
  static const std::vector<BlockSize> exactly_7 = {
      {1000, 24, 24},
      {2000, 128, 128},
      {2500, 160, 160},
      {kAnySize, 240, 240},
  };
  static const std::vector<BlockSize> below_7 = {
      {8, 1, 1},          {32, 8, 8},          {128, 32, 32},         {256, 128, 128},
      {512, 256, 256},    {1024, 512, 512},    {2048, 1024, 1024},    {4096, 2048, 2048},
      {8192, 4096, 4096}, {16384, 8192, 8192}, {32768, 16384, 16384}, {kAnySize, 32768, 32768},
  };
  return type > 7 ? above_7 : type == 7 ? exactly_7 : below_7;
}

int block_size(int type, int rows, int columns, bool complex) {
  if (rows <= 10 && columns <= 10) return 1;
  for (const BlockSize& row : block_sizes(type)) {
    if (columns <= row.columns) return complex ? row.complex : row.real;
  }
  return 0;
}

namespace {

void cut_real(int type, int m, int n, int offset, std::vector<int>& steps) {
  const int least = std::min(m, n), nb = block_size(type, m, n);
  if (nb <= 1 || nb >= least) {
    steps.push_back(n + offset);
    return;
  }
  for (int j = 0; j < least; j += nb) {
    cut_real(type, m - j, std::min(nb, least - j), offset + j, steps);
  }
}

void cut_complex(int m, int n, int offset, std::vector<int>& steps) {
  int nb = 0;
  for (const int size : {16, 32, 64, 128, 1024, 2048, 4096, 8192}) {
    if (size < n) nb = size;
  }
  if (nb == 0) {
    steps.push_back(n + offset);
    return;
  }
  const int least = std::min(m, n);
  for (int j = 0; j < least; j += nb) {
    cut_complex(m - j, std::min(nb, least - j), offset + j, steps);
  }
}

}  // namespace

std::vector<int> real_steps(int type, int m, int n) {
  std::vector<int> steps;
  cut_real(type, m, n, 0, steps);
  return steps;
}

std::vector<int> complex_steps(int m, int n) {
  std::vector<int> steps;
  cut_complex(m, n, 0, steps);
  return steps;
}

}  // namespace lapack_test
