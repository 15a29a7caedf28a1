/* The displacements of a structure under its loads: a dense system with two load cases.
 *
 * Data: BCSSTK01 of the Harwell-Boeing collection, the stiffness matrix of a structure with 48
 * degrees of freedom, from an engineering company's work of 1982. The solution is judged as it
 * should be where nobody knows the exact one: by its residual, in units of what rounding must cost,
 * and by the growth of the elements during the elimination, which is what could spoil it.
 *
 * Use: stiffness [DATA_FOLDER]
 */
#include <float.h>
#include <math.h>
#include <stdio.h>
#include <string.h>

#include "qsl/qsl.h"
#include "read_column.h"

enum { kOrder = 48, kEntries = 224, kCases = 2 };

static double matrix[kOrder * kOrder]; /* row-major */

static int read_matrix(const char* path) {
  double row[kEntries], column[kEntries], value[kEntries];
  int k;
  if (read_column(path, 0, row, kEntries) != kEntries) return 0;
  if (read_column(path, 1, column, kEntries) != kEntries) return 0;
  if (read_column(path, 2, value, kEntries) != kEntries) return 0;
  for (k = 0; k < kEntries; ++k) {
    const int i = (int)row[k] - 1;
    const int j = (int)column[k] - 1;
    matrix[i * kOrder + j] = value[k];
    matrix[j * kOrder + i] = value[k];
  }
  return 1;
}

static double largest(const double* values, int count) {
  double most = 0;
  int k;
  for (k = 0; k < count; ++k) {
    if (fabs(values[k]) > most) most = fabs(values[k]);
  }
  return most;
}

int main(int argc, char** argv) {
  /* One column a load case: the same force everywhere, and one at the last node alone. */
  double load[kOrder * kCases] = {0};
  double displacement[kOrder * kCases];
  double residual[kOrder * kCases];
  double factors[kOrder * kOrder];
  int pivots[kOrder];
  double norm = 0, ratio, growth = 0;
  char path[1024];
  int i, j, status;

  data_path(path, sizeof path, argc, argv, "bcsstk01.txt");
  if (!read_matrix(path)) return 1;
  for (i = 0; i < kOrder; ++i) load[i * kCases] = 1000;
  load[(kOrder - 1) * kCases + 1] = 1000;

  /* The matrix becomes its factors, the loads become the displacements. */
  memcpy(factors, matrix, sizeof matrix);
  memcpy(displacement, load, sizeof load);
  status =
      LAPACKE_dgesv(CblasRowMajor, kOrder, kCases, factors, kOrder, pivots, displacement, kCases);
  if (status != 0) {
    printf("the structure can move freely: status %d\n", status);
    return 1;
  }

  memcpy(residual, load, sizeof load);
  cblas_dgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, kOrder, kCases, kOrder, -1.0, matrix,
              kOrder, displacement, kCases, 1.0, residual, kCases);
  for (i = 0; i < kOrder; ++i) {
    double sum = 0;
    for (j = 0; j < kOrder; ++j) sum += fabs(matrix[i * kOrder + j]);
    if (sum > norm) norm = sum;
    growth = fmax(growth, largest(factors + i * kOrder + i, kOrder - i));
  }
  growth /= largest(matrix, kOrder * kOrder);
  ratio = largest(residual, kOrder * kCases) /
          (norm * largest(displacement, kOrder * kCases) * kOrder * DBL_EPSILON);

  printf("Displacements of a structure (BCSSTK01, %d degrees of freedom, %d load cases)\n", kOrder,
         kCases);
  printf("  largest displacement:             %.6g\n", largest(displacement, kOrder * kCases));
  printf("  |b - A x| / (|A| |x| n eps):      %.2g (below 30 is right)\n", ratio);
  printf("  growth of the elements:           %.3g (1: none)\n", growth);
  return ratio < 30 ? 0 : 1;
}
