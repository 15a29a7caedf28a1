/* How a structure answers a shaking force: complex symmetric systems by conjugate gradients, helped
 * by the factors of many small blocks.
 *
 * Data: BCSSTK01, as in stiffness.c. With unit masses and a damper at each degree of freedom the
 * displacements at the angular frequency w solve (K - w^2 + i w c) x = b. There are eight nodes of
 * six degrees of freedom; the blocks of two neighbours on the diagonal, for sixteen frequencies,
 * are one batch of 64 complex matrices of order 12. Their imaginary parts are definite: they need
 * no pivoting. Once factored, they precondition the iteration at all frequencies together.
 *
 * The iteration is the conjugate gradients for complex symmetric matrices of H. A. van der Vorst
 * and J. B. M. Melissen, IEEE Trans. Magnetics 26 (1990) 706-708.
 *
 * Use: block_jacobi [DATA_FOLDER]
 */
#include <complex.h>
#include <float.h>
#include <math.h>
#include <stdio.h>

#include "qsl/qsl.h"
#include "read_column.h"

enum {
  kOrder = 48,
  kEntries = 224,
  kFrequencies = 16,
  kBlock = 12,
  kBlocks = kOrder / kBlock,
  kBatch = kBlocks * kFrequencies,
  kMostSteps = 1000
};
enum Help { kNone, kDiagonal, kBlockFactors };

static const double kDamping = 500;
static const double kLowest = 100; /* w of the first frequency; the others are its multiples */
static const double kTolerance = 1e-10;

static double stiffness[kOrder][kOrder];
static double complex block[kBatch][kBlock][kBlock];
static double *factors, *sides; /* in the compact format */
static int format;

static int read_matrix(const char* path) {
  double row[kEntries], column[kEntries], value[kEntries];
  int k;
  if (read_column(path, 0, row, kEntries) != kEntries) return 0;
  if (read_column(path, 1, column, kEntries) != kEntries) return 0;
  if (read_column(path, 2, value, kEntries) != kEntries) return 0;
  for (k = 0; k < kEntries; ++k) {
    const int i = (int)row[k] - 1, j = (int)column[k] - 1;
    stiffness[i][j] = stiffness[j][i] = value[k];
  }
  return 1;
}

static double complex element(int frequency, int i, int j) {
  const double w = kLowest * (frequency + 1);
  return i == j ? stiffness[i][j] - w * w + I * w * kDamping : stiffness[i][j];
}

/* All blocks of all frequencies, packed and factored. */
static int factor_blocks(void) {
  complex_double* pointer[kBatch];
  int k, i, j, info;
  format = qsl_get_format_compact();
  factors = QSL_malloc((size_t)qsl_zget_size_compact(kBlock, kBlock, format, kBatch), 64);
  sides = QSL_malloc((size_t)qsl_zget_size_compact(kBlock, 1, format, kBatch), 64);
  if (factors == NULL || sides == NULL) return 0;
  for (k = 0; k < kBatch; ++k) {
    const int first = k % kBlocks * kBlock;
    for (i = 0; i < kBlock; ++i) {
      for (j = 0; j < kBlock; ++j) block[k][j][i] = element(k / kBlocks, first + i, first + j);
    }
    pointer[k] = (complex_double*)block[k];
  }
  qsl_zgepack_compact(CblasColMajor, kBlock, kBlock, pointer, kBlock, factors, kBlock, format,
                      kBatch);
  qsl_zgetrfnp_compact(CblasColMajor, kBlock, kBlock, factors, kBlock, &info, format, kBatch);
  return 1;
}

/* z := inverse(blocks) * z at all frequencies: a vector of the structure is four of the blocks. */
static void solve_blocks(double complex z[kFrequencies][kOrder]) {
  static const complex_double one = {1, 0};
  complex_double* pointer[kBatch];
  int k;
  for (k = 0; k < kBatch; ++k) {
    pointer[k] = (complex_double*)&z[k / kBlocks][k % kBlocks * kBlock];
  }
  qsl_zgepack_compact(CblasColMajor, kBlock, 1, pointer, kBlock, sides, kBlock, format, kBatch);
  qsl_ztrsm_compact(CblasColMajor, CblasLeft, CblasLower, CblasNoTrans, CblasUnit, kBlock, 1, &one,
                    factors, kBlock, sides, kBlock, format, kBatch);
  qsl_ztrsm_compact(CblasColMajor, CblasLeft, CblasUpper, CblasNoTrans, CblasNonUnit, kBlock, 1,
                    &one, factors, kBlock, sides, kBlock, format, kBatch);
  qsl_zgeunpack_compact(CblasColMajor, kBlock, 1, pointer, kBlock, sides, kBlock, format, kBatch);
}

/* |b - A x| / (|A| |x| n eps) of the block systems with b = 1, the worst one. */
static double block_residual(void) {
  static double complex x[kFrequencies][kOrder];
  double worst = 0;
  int k, i, j;
  for (k = 0; k < kFrequencies; ++k) {
    for (i = 0; i < kOrder; ++i) x[k][i] = 1;
  }
  solve_blocks(x);
  for (k = 0; k < kBatch; ++k) {
    const double complex* solution = &x[k / kBlocks][k % kBlocks * kBlock];
    double residual = 0, norm = 0, largest = 0;
    for (i = 0; i < kBlock; ++i) {
      double complex rest = 1;
      double sum = 0;
      for (j = 0; j < kBlock; ++j) {
        rest -= block[k][j][i] * solution[j];
        sum += cabs(block[k][j][i]);
      }
      residual = fmax(residual, cabs(rest));
      norm = fmax(norm, sum);
      largest = fmax(largest, cabs(solution[i]));
    }
    residual /= norm * largest * kBlock * DBL_EPSILON;
    if (!(residual <= worst)) worst = residual;
  }
  return worst;
}

static void multiply(int frequency, const double complex* x, double complex* y) {
  int i, j;
  for (i = 0; i < kOrder; ++i) {
    y[i] = 0;
    for (j = 0; j < kOrder; ++j) y[i] += element(frequency, i, j) * x[j];
  }
}

/* Without conjugates, as the method asks. */
static double complex product(const double complex* x, const double complex* y) {
  double complex sum = 0;
  int i;
  for (i = 0; i < kOrder; ++i) sum += x[i] * y[i];
  return sum;
}

static double norm_of(const double complex* x) {
  double sum = 0;
  int i;
  for (i = 0; i < kOrder; ++i) sum += creal(x[i]) * creal(x[i]) + cimag(x[i]) * cimag(x[i]);
  return sqrt(sum);
}

/* z := the preconditioner's answer to r. */
static void help_with(enum Help help, double complex r[kFrequencies][kOrder],
                      double complex z[kFrequencies][kOrder]) {
  int f, i;
  for (f = 0; f < kFrequencies; ++f) {
    for (i = 0; i < kOrder; ++i) {
      z[f][i] = help == kDiagonal ? r[f][i] / element(f, i, i) : r[f][i];
    }
  }
  if (help == kBlockFactors) solve_blocks(z);
}

/* Steps until all frequencies are solved with the force 1 everywhere; the worst |b - A x| / |b|
 * goes to *residual. */
static int iterate(enum Help help, double* residual) {
  static double complex x[kFrequencies][kOrder], r[kFrequencies][kOrder], z[kFrequencies][kOrder],
      p[kFrequencies][kOrder], q[kOrder];
  double complex before[kFrequencies];
  const double force = sqrt(kOrder);
  int step, f, i, unsolved = kFrequencies;
  for (f = 0; f < kFrequencies; ++f) {
    before[f] = 0;
    for (i = 0; i < kOrder; ++i) x[f][i] = 0, r[f][i] = 1, p[f][i] = 0;
  }
  for (step = 0; unsolved > 0 && step < kMostSteps; ++step) {
    help_with(help, r, z);
    unsolved = 0;
    for (f = 0; f < kFrequencies; ++f) {
      double complex now, along;
      if (norm_of(r[f]) <= kTolerance * force) continue;
      now = product(r[f], z[f]);
      along = step == 0 ? 0 : now / before[f];
      before[f] = now;
      for (i = 0; i < kOrder; ++i) p[f][i] = z[f][i] + along * p[f][i];
      multiply(f, p[f], q);
      along = now / product(p[f], q);
      for (i = 0; i < kOrder; ++i) x[f][i] += along * p[f][i], r[f][i] -= along * q[i];
      if (!(norm_of(r[f]) <= kTolerance * force)) ++unsolved;
    }
  }
  *residual = 0;
  for (f = 0; f < kFrequencies; ++f) {
    double rest;
    multiply(f, x[f], q);
    for (i = 0; i < kOrder; ++i) q[i] = 1 - q[i];
    rest = norm_of(q) / force;
    if (!(rest <= *residual)) *residual = rest;
  }
  return step;
}

int main(int argc, char** argv) {
  static const char* const label[] = {"no preconditioner", "the diagonal", "the blocks"};
  double residual, worst = 0;
  int steps[3];
  char path[1024];
  int help;

  data_path(path, sizeof path, argc, argv, "bcsstk01.txt");
  if (!read_matrix(path)) return 1;
  if (!factor_blocks()) return 1;

  printf("A structure that is shaken (BCSSTK01, %d frequencies, %d blocks of order %d)\n",
         kFrequencies, kBatch, kBlock);
  residual = block_residual();
  printf("  blocks, |b - A x| / (|A| |x| n eps): %.2g (below 30 is right)\n", residual);
  if (!(residual < 30)) return 1;
  for (help = kNone; help <= kBlockFactors; ++help) {
    steps[help] = iterate((enum Help)help, &residual);
    printf("  steps with %-18s        %4d, |b - A x| / |b| = %.0e\n", label[help], steps[help],
           residual);
    if (!(residual <= worst)) worst = residual;
  }
  QSL_free(factors);
  QSL_free(sides);
  return worst < 10 * kTolerance && steps[kBlockFactors] < steps[kDiagonal] ? 0 : 1;
}
