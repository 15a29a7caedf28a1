// The LU factorisations: the split by size and the two blocked drivers.
//
// The real driver is right-looking: a panel is factored, its row exchanges, the triangular solve
// and the update go to the columns on its right; those on its left wait until all panels are done.
// The complex driver is Crout's form on blocks: each block column of L and each block row of U is
// brought up to date just before it is needed.
//
// J. J. Dongarra, I. S. Duff, D. C. Sorensen, H. A. van der Vorst, "Numerical Linear Algebra for
// High-Performance Computers", SIAM 1998, chapter 5 has both.
#include "lapack/elements.h"
#include "lapack/solvers.h"
#include "lapack/tuning.h"
#include "runtime/messages/messages.h"

namespace qsl::lapack {
namespace {

// What travels down the recursion for the progress hook alone.
struct Progress {
  const int* thread;
  int column_offset;
};

// One factorisation: the matrix with its pivots, or a panel of it.
template <class Type>
struct Panel {
  int m, n;
  typename Type::Element* a;
  int lda;
  int* ipiv;

  Panel part(int row, int rows, int column, int columns) const {
    return {rows, columns, at(a, lda, row, column), lda, ipiv + row};
  }
};

template <class Type>
int factor_leaf(const Panel<Type>& p, int* info, const Progress& progress) {
  Type::getrf_leaf(p.m, p.n, p.a, p.lda, p.ipiv, info);
  const int step = p.n + progress.column_offset;
  return qsl_progress_hook(progress.thread, &step, Type::getrf_name, 6) != 0;
}

// The exchanges of `count` rows from `row` on, in some columns.
template <class Type>
void exchange_rows(const Panel<Type>& p, int column, int columns, int row, int count) {
  if (columns <= 0) return;
  Type::laswp(columns, at(p.a, p.lda, 0, column), p.lda, row, 1, p.ipiv + row, 1, count);
}

// The triangular solve with the unit lower triangle at (row, row), onto `columns` columns.
template <class Type>
void solve_block_row(const Panel<Type>& p, int row, int rows, int column, int columns) {
  Type::trsm(QSL_LEFT, QSL_LOWER, 0, QSL_UNIT, rows, columns, &Type::one, at(p.a, p.lda, row, row),
             p.lda, at(p.a, p.lda, row, column), p.lda);
}

// The block at (row, column) minus L's columns [from, from + depth) times U's rows of that number.
template <class Type>
void subtract_product(const Panel<Type>& p, int row, int rows, int column, int columns, int from,
                      int depth) {
  Type::gemm(0, 0, rows, columns, depth, &Type::minus_one, at(p.a, p.lda, row, from), p.lda,
             at(p.a, p.lda, from, column), p.lda, &Type::one, at(p.a, p.lda, row, column), p.lda);
}

template <class Type>
using Driver = int (*)(const Panel<Type>& p, int* info, const Progress& progress);

// The panel of `columns` columns at (j, j), and what it says: the first zero pivot, in columns of
// the whole. Not 0: stopped.
template <class Type>
int factor_panel(Driver<Type> driver, const Panel<Type>& p, int j, int columns, int* info,
                 const Progress& progress) {
  int panel_info = 0;
  const int stopped = driver(p.part(j, p.m - j, j, columns), &panel_info,
                             {progress.thread, progress.column_offset + j});
  if (stopped != 0) return 1;
  if (*info == 0 && panel_info > 0) *info = panel_info + j;
  const int pivots = least(p.m - j, columns);
  for (int i = 0; i < pivots; i++) p.ipiv[j + i] += j;
  return 0;
}

int qsl_dgetrf_blocked(const Panel<Real>& p, int* info, const Progress& progress) {
  const int steps = least(p.m, p.n);
  const int nb = qsl_tuned_ilaenv(1, "DGETRF", "S", p.m, p.n, -1, -1, 6, 1);
  if (nb <= 1 || nb >= steps) return factor_leaf(p, info, progress);
  for (int j = 0; j < steps; j += nb) {
    const int jb = least(steps - j, nb);
    if (factor_panel<Real>(qsl_dgetrf_blocked, p, j, jb, info, progress) != 0) return 1;
    const int next = j + jb;
    const int later = p.n - next;
    if (later <= 0) continue;
    exchange_rows(p, next, later, j, jb);
    solve_block_row(p, j, jb, next, later);
    if (next < p.m) subtract_product(p, next, p.m - next, next, later, j, jb);
  }
  for (int j = 0; j + nb < steps; j += nb) exchange_rows(p, j, nb, j + nb, steps - j - nb);
  return 0;
}

// The block size of the complex driver: the first of these below n.
int crout_block(int n) {
  static const int ladder[] = {8192, 4096, 2048, 1024, 128, 64, 32, 16};
  for (const int size : ladder) {
    if (size < n) return size;
  }
  return 0;
}

int qsl_zgetrf_blocked(const Panel<Complex>& p, int* info, const Progress& progress) {
  const int nb = crout_block(p.n);
  if (nb == 0) return factor_leaf(p, info, progress);
  const int steps = least(p.m, p.n);
  for (int j = 0; j < steps; j += nb) {
    const int jb = least(nb, steps - j);
    if (j > 0) subtract_product(p, j, p.m - j, j, jb, 0, j);
    if (factor_panel<Complex>(qsl_zgetrf_blocked, p, j, jb, info, progress) != 0) return 1;
    if (j > 0) exchange_rows(p, 0, j, j, jb);
    const int next = j + jb;
    const int later = p.n - next;
    if (later <= 0) continue;
    exchange_rows(p, next, later, j, jb);
    if (j > 0) subtract_product(p, j, jb, next, later, 0, j);
    solve_block_row(p, j, jb, next, later);
  }
  return 0;
}

constexpr int kLargestSmall = 16;

template <class Type>
void getrf(Driver<Type> driver, int m, int n, typename Type::Element* a, int lda, int* ipiv,
           int* info) {
  if (m <= kLargestSmall && n <= kLargestSmall) {
    return Type::getrf_small(m, n, a, lda, ipiv, info);
  }
  *info = 0;
  if (m == 0 || n == 0) return;
  const int thread = 0;
  if (driver({m, n, a, lda, ipiv}, info, {&thread, 0}) != 0) *info = QSL_STOPPED_BY_HOOK;
}

}  // namespace
}  // namespace qsl::lapack

extern "C" {

void qsl_dgetrf(const int* m, const int* n, double* a, const int* lda, int* ipiv, int* info) {
  qsl::lapack::getrf<qsl::lapack::Real>(qsl::lapack::qsl_dgetrf_blocked, *m, *n, a, *lda, ipiv,
                                        info);
}

void qsl_zgetrf(const int* m, const int* n, complex_double* a, const int* lda, int* ipiv,
                int* info) {
  qsl::lapack::getrf<qsl::lapack::Complex>(qsl::lapack::qsl_zgetrf_blocked, *m, *n, a, *lda, ipiv,
                                           info);
}

int qsl_dgetrf_checks(const int* m, const int* n, const int* lda, int* info) {
  int bad = 0;
  if (*m < 0) {
    bad = 1;
  } else if (*n < 0) {
    bad = 2;
  } else if (*lda < qsl::at_least_one(*m)) {
    bad = 4;
  }
  *info = -bad;
  if (bad != 0) qsl_xerbla("DGETRF", &bad, 6);
  return bad != 0;
}
}
