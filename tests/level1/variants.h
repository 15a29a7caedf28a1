// The variants of the level-1 routines, for tests that call them directly.
#pragma once

#include <ostream>
#include <vector>

#include "include/qsl/types.h"

namespace level1_test {

enum class Level { p4, p4m, p4m3, avx, avx2, avx512, cnr };

using Ddot = double(int n, const double* x, int incx, const double* y, int incy);
using Daxpy = void(int n, const double* a, const double* x, int incx, double* y, int incy);
using Zaxpy = void(int n, const complex_double* alpha, const complex_double* x, int incx,
                   complex_double* y, int incy);
using Dcopy = void(int n, const double* x, int incx, double* y, int incy);
using Zcopy = void(int n, const complex_double* x, int incx, complex_double* y, int incy);

struct Variant {
  Level level;
  const char* name;
  Ddot* ddot;
  Daxpy* daxpy;
  Dcopy* dcopy;
  Zcopy* zcopy;
  std::vector<Zaxpy*> zaxpy;  // more than one where a level has more than one body
};

inline std::ostream& operator<<(std::ostream& out, const Variant& variant) {
  return out << variant.name;
}

// All seven; the processor need not support them.
const std::vector<Variant>& all_variants();

// Why a level's variants are not called here; a null pointer where they are.
const char* left_out(Level level);

}  // namespace level1_test
