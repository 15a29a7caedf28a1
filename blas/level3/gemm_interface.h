// The matrix product's interface function: degenerate shapes, and the shapes that a matrix-vector
// product or a rank-one update serves, before the variants.
//
// Nothing here copies a floating-point value: the frame's only way is the x87 unit, which quiets
// signalling NaNs.
#pragma once

#include "blas/level1/routines.h"
#include "blas/level2/routines.h"
#include "blas/level3/routines.h"
#include "elements/number_bits.h"
#include "runtime/arguments.h"
#include "runtime/memory/memory.h"

namespace qsl::blas {

// The routines that serve one element type.
struct Double {
  using Element = double;
  static constexpr bool is_complex = false;
  static constexpr auto gemv = qsl_dispatch_dgemv;
  static constexpr auto ger = qsl_dispatch_dger;
  static constexpr auto gemm = qsl_dispatch_dgemm;
  static void copy(int n, const double* x, int incx, double* y) {
    qsl_dispatch_dcopy(n, x, incx, y, 1);
  }
};

struct ComplexFloat {
  using Element = complex_float;
  static constexpr bool is_complex = true;
  static constexpr auto gemv = qsl_dispatch_cgemv;
  static constexpr auto ger = qsl_dispatch_cgeru;
  static constexpr auto gemm = qsl_dispatch_cgemm;
  // Eight bytes an element: the copy of doubles moves them bit by bit.
  static void copy(int n, const complex_float* x, int incx, complex_float* y) {
    qsl_dispatch_dcopy(n, reinterpret_cast<const double*>(x), incx, reinterpret_cast<double*>(y),
                       1);
  }
};

struct ComplexDouble {
  using Element = complex_double;
  static constexpr bool is_complex = true;
  static constexpr auto gemv = qsl_dispatch_zgemv;
  static constexpr auto ger = qsl_dispatch_zgeru;
  static constexpr auto gemm = qsl_dispatch_zgemm;
  static void copy(int n, const complex_double* x, int incx, complex_double* y) {
    qsl_dispatch_zcopy(n, x, incx, y, 1);
  }
};

// One call's arguments, options decoded.
template <class Element>
struct GemmArguments {
  int transa, transb;
  int m, n, k;
  const Element* alpha;
  const Element* a;
  int lda;
  const Element* b;
  int ldb;
  const Element* beta;
  Element* c;
  int ldc;
};

// A strided column longer than this is worth a copy before a rank-one update reads it once for
// every column of C.
inline constexpr int longest_strided_column = 64;

// k = 1: C := alpha * a * b^T + beta * C, a being the column of op(A) and b the row of op(B).
template <class Type>
[[gnu::noinline]] void gemm_as_rank_one(const GemmArguments<typename Type::Element>& g) {
  using Element = typename Type::Element;
  const Element* column = g.a;
  int stride = g.transa == no_transpose ? 1 : g.lda;
  Element* copy = nullptr;
  if (stride != 1 && g.m > longest_strided_column && !is_zero(g.alpha)) {
    copy = static_cast<Element*>(
        qsl_mm_allocate(static_cast<std::size_t>(g.m) * sizeof(Element), 128));
    if (copy != nullptr) {
      Type::copy(g.m, g.a, g.lda, copy);
      column = copy;
      stride = 1;
    }
  }
  Type::ger(g.m, g.n, g.alpha, column, stride, g.b, g.transb == no_transpose ? g.ldb : 1, g.beta,
            g.c, g.ldc);
  if (copy != nullptr) qsl_mm_deallocate(copy);
}

template <class Type>
[[gnu::always_inline]] inline void gemm_interface(const GemmArguments<typename Type::Element>& g) {
  if (g.m < 1 || g.n < 1) return;
  // The shortcuts know no conjugated operand.
  const bool plain =
      !Type::is_complex || (g.transa != conjugate_transpose && g.transb != conjugate_transpose);
  if (plain && g.k != 0) {
    if (g.m == 1) {
      // The row of C is op(B)^T times the row of op(A).
      const int stride = g.transa == no_transpose ? g.lda : 1;
      if (g.transb == no_transpose) {
        return Type::gemv(transpose, g.k, g.n, g.alpha, g.b, g.ldb, g.a, stride, g.beta, g.c,
                          g.ldc);
      }
      return Type::gemv(no_transpose, g.n, g.k, g.alpha, g.b, g.ldb, g.a, stride, g.beta, g.c,
                        g.ldc);
    }
    if (g.n == 1) {
      const int stride = g.transb == no_transpose ? 1 : g.ldb;
      if (g.transa == no_transpose) {
        return Type::gemv(no_transpose, g.m, g.k, g.alpha, g.a, g.lda, g.b, stride, g.beta, g.c, 1);
      }
      return Type::gemv(transpose, g.k, g.m, g.alpha, g.a, g.lda, g.b, stride, g.beta, g.c, 1);
    }
    if (g.k == 1) return gemm_as_rank_one<Type>(g);
  }
  Type::gemm(g.transa, g.transb, g.m, g.n, g.k, g.alpha, g.a, g.lda, g.b, g.ldb, g.beta, g.c,
             g.ldc);
}

}  // namespace qsl::blas
