// Block sizes by the processor type and the number of columns, as tables.
#include "lapack/tuning.h"

#include "runtime/dispatch/cpu_type.h"

namespace {

// Block size up to so many columns.
struct Row {
  int columns;
  int real;
  int complex;
};

constexpr int kAny = 0x7fffffff;

constexpr Row kAbove7[] = {
    {2000, 48, 48},     {4000, 96, 96},   {6000, 224, 96},
    {14000, 224, 224},  {kAny, 336, 336},
};

// Matrices of up to 1000 columns stay in the caches while panels of 24 pass over them.
constexpr Row k7[] = {
    {1000, 24, 24}, {2000, 128, 128}, {2500, 160, 160}, {kAny, 240, 240},
};

// Each about half of the columns: a recursion. There is no 64.
constexpr Row kBelow7[] = {
    {8, 1, 1},          {32, 8, 8},         {128, 32, 32},        {256, 128, 128},
    {512, 256, 256},    {1024, 512, 512},   {2048, 1024, 1024},   {4096, 2048, 2048},
    {8192, 4096, 4096}, {16384, 8192, 8192}, {32768, 16384, 16384}, {kAny, 32768, 32768},
};

int block_size(const Row* row, int columns, bool is_complex) {
  while (columns > row->columns) row++;
  return is_complex ? row->complex : row->real;
}

// The routine's name without its prefix letter.
bool is_factorisation(const char* name, int length) {
  static const char suffix[] = "GETRF";
  if (length < 6) return false;
  for (int i = 0; i < 5; i++) {
    if ((name[i + 1] & ~0x20) != suffix[i]) return false;
  }
  return true;
}

}  // namespace

extern "C" int qsl_tuned_ilaenv(int ispec, const char* name, const char*, int n1, int n2, int, int,
                                int name_length, int) {
  if (ispec != 1 || name == nullptr || !is_factorisation(name, name_length)) return -1;
  if (n1 <= 10 && n2 <= 10) return 1;
  const int prefix = name[0] & ~0x20;
  const bool is_complex = prefix == 'C' || prefix == 'Z';
  const int type = qsl_get_cpu_type();
  if (type > QSL_CPU_AVX2) return block_size(kAbove7, n2, is_complex);
  if (type == QSL_CPU_AVX2) return block_size(k7, n2, is_complex);
  return block_size(kBelow7, n2, is_complex);
}
