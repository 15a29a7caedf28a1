// Batches of small complex matrices in the compact format.
//
// A compact buffer holds matrices in groups of G, G being 2, 4 or 8. An element of a group takes 2
// G doubles: the real parts of the G matrices, then their imaginary parts. Element (i, j) stands at
// position j * ld + i of its group in column-major order, at i * ld + j in row-major order. The
// last group is as large as the others; what its missing matrices would hold is 0.
//
// A format comes as an index here: 0, 1, 2 for groups of 2, 4, 8; anything else is a group of 1.
// The factorisation alone takes the code of the interface, 181 to 183.
#pragma once

#include "include/qsl/types.h"
#include "runtime/dispatch/dispatcher.h"

// Copies nm matrices into a compact buffer, or back. `run` elements are next to each other in a
// matrix, and there are `runs` of them: rows and columns in column-major order, the other way round
// in row-major order. Bits are moved as they are. Positions between run and ldap are left alone.
QSL_DECLARE_VARIANTS(void, zgepack_compact,
                     (int run, int runs, const complex_double* const* a, int lda, double* ap,
                      int ldap, int format, int nm));
QSL_DECLARE_VARIANTS(void, zgeunpack_compact,
                     (int run, int runs, complex_double* const* a, int lda, const double* ap,
                      int ldap, int format, int nm));

// A := L and U with A = L U, L having ones on its diagonal, without exchanges of rows. A zero pivot
// makes its own matrix infinite or NaN. With an unknown code nothing is done.
QSL_DECLARE_VARIANTS(void, zgetrfnp_compact,
                     (int by_rows, int m, int n, double* ap, int ldap, int format, int nm));

// A triangle of order m on the left of m by n matrices: B := alpha * inv(op(A)) * B, op(A) being A,
// its transpose or its conjugates. Elements are as far apart as the strides say, counted in
// elements of a group; a lower triangle is solved from its first row on, an upper one from its
// last.
struct CompactSolve {
  int m, n;
  int lower;      // op(A) is a lower triangle
  int conjugate;  // of the elements of A
  int unit;       // ones on the diagonal, which is not read
  const complex_double* alpha;
  const double* a;
  int a_row, a_column;  // from row to row and from column to column of op(A)
  int a_group;          // from group to group
  double* b;
  int b_row, b_column, b_group;
  int format, nm;
};
QSL_DECLARE_VARIANTS(void, ztrsm_compact, (const CompactSolve* solve));
