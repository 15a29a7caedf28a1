/* A regression on six variables, by the normal matrix of their columns: one matrix product.
 *
 * Data: NIST's "Longley", employment in the United States. Its columns are so nearly dependent that
 * the programs of 1967 disagreed in the first digit. NIST publishes the coefficients to 15 digits,
 * computed in multiple precision; they are printed beside ours. The normal matrix squares the
 * condition of the problem, so its columns are centred and scaled first, which leaves about ten
 * digits.
 *
 * Use: employment [DATA_FOLDER]
 */
#include <math.h>
#include <stdio.h>

#include "qsl/qsl.h"
#include "read_column.h"

enum { kRows = 16, kVariables = 6, kColumns = kVariables + 1 };

/* Solves A x = b for a symmetric positive definite A, row-major, by its Cholesky factor. */
static void solve_by_cholesky(int n, double* a, int lda, double* x) {
  int i, j, k;
  for (j = 0; j < n; ++j) {
    for (i = j; i < n; ++i) {
      double sum = a[i * lda + j];
      for (k = 0; k < j; ++k) sum -= a[i * lda + k] * a[j * lda + k];
      a[i * lda + j] = i == j ? sqrt(sum) : sum / a[j * lda + j];
    }
  }
  for (i = 0; i < n; ++i) {
    for (k = 0; k < i; ++k) x[i] -= a[i * lda + k] * x[k];
    x[i] /= a[i * lda + i];
  }
  for (i = n - 1; i >= 0; --i) {
    for (k = i + 1; k < n; ++k) x[i] -= a[k * lda + i] * x[k];
    x[i] /= a[i * lda + i];
  }
}

int main(int argc, char** argv) {
  static const char* const name[kColumns] = {"(intercept)", "price deflator", "national product",
                                             "unemployed",  "armed forces",   "population",
                                             "year"};
  static const double certified[kColumns] = {
      -3482258.63459582, 15.0618722713733,    -0.0358191792925910, -2.02022980381683,
      -1.03322686717359, -0.0511041056535807, 1829.15146461355};
  double x[kRows * kColumns]; /* row-major: employment, then the six variables */
  double normal[kColumns * kColumns];
  double mean[kColumns], norm[kColumns], coefficient[kColumns];
  double column[kRows];
  double worst = 0;
  char path[1024];
  int i, j;

  data_path(path, sizeof path, argc, argv, "longley.txt");
  for (j = 0; j < kColumns; ++j) {
    if (read_column(path, j, column, kRows) != kRows) return 1;
    mean[j] = 0;
    for (i = 0; i < kRows; ++i) mean[j] += column[i] / kRows;
    for (i = 0; i < kRows; ++i) column[i] -= mean[j];
    norm[j] = sqrt(cblas_ddot(kRows, column, 1, column, 1));
    for (i = 0; i < kRows; ++i) x[i * kColumns + j] = column[i] / norm[j];
  }

  /* The correlations of all columns: transpose(X) * X. */
  cblas_dgemm(CblasRowMajor, CblasTrans, CblasNoTrans, kColumns, kColumns, kRows, 1.0, x, kColumns,
              x, kColumns, 0.0, normal, kColumns);

  /* Row and column 0 belong to the employment. */
  for (j = 1; j < kColumns; ++j) coefficient[j] = normal[j * kColumns];
  solve_by_cholesky(kVariables, normal + kColumns + 1, kColumns, coefficient + 1);
  coefficient[0] = mean[0];
  for (j = 1; j < kColumns; ++j) {
    coefficient[j] *= norm[0] / norm[j];
    coefficient[0] -= coefficient[j] * mean[j];
  }

  printf("Employment in the United States (NIST Longley, %d years, %d variables)\n", kRows,
         kVariables);
  printf("  %-22s %20s %20s\n", "", "QSL", "NIST certified");
  for (j = 0; j < kColumns; ++j) {
    const double error = fabs(coefficient[j] / certified[j] - 1);
    printf("  %-22s %20.10f %20.10f\n", name[j], coefficient[j], certified[j]);
    if (!(error <= worst)) worst = error;
  }
  printf("  largest relative difference: %.0e\n", worst);
  return worst < 1e-8 ? 0 : 1;
}
