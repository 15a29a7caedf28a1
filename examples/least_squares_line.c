/* A straight line through measured points, by dot products.
 *
 * Data: NIST's "Norris", the calibration of ozone monitors. NIST publishes the line's coefficients
 * to 15 digits, computed in multiple precision; they are printed beside ours.
 *
 * Use: least_squares_line [DATA_FOLDER]
 */
#include <math.h>
#include <stdio.h>

#include "qsl/qsl.h"
#include "read_column.h"

enum { kMaxRows = 64 };

static void show(const char* name, double ours, double certified) {
  printf("  %-22s %20.13f %20.13f\n", name, ours, certified);
}

int main(int argc, char** argv) {
  double x[kMaxRows], y[kMaxRows], one[kMaxRows];
  char path[1024];
  double mean_x, mean_y, sxx, sxy, syy, slope, intercept, residual, r_squared;
  const int stride = 1;
  int n, i;

  data_path(path, sizeof path, argc, argv, "norris.txt");
  n = read_column(path, 0, y, kMaxRows);
  if (n < 3 || read_column(path, 1, x, kMaxRows) != n) return 1;

  /* Means first, and sums of products of what is left: the two-pass form keeps all digits. */
  for (i = 0; i < n; ++i) one[i] = 1;
  mean_x = DDOT(&n, x, &stride, one, &stride) / n;
  mean_y = DDOT(&n, y, &stride, one, &stride) / n;
  for (i = 0; i < n; ++i) {
    x[i] -= mean_x;
    y[i] -= mean_y;
  }
  sxx = DDOT(&n, x, &stride, x, &stride);
  sxy = DDOT(&n, x, &stride, y, &stride);
  syy = DDOT(&n, y, &stride, y, &stride);
  slope = sxy / sxx;
  intercept = mean_y - slope * mean_x;
  for (i = 0; i < n; ++i) y[i] -= slope * x[i];
  residual = DDOT(&n, y, &stride, y, &stride);
  r_squared = 1 - residual / syy;

  printf("Ozone monitors (NIST Norris, %d observations): y = intercept + slope * x\n", n);
  printf("  %-22s %20s %20s\n", "", "QSL", "NIST certified");
  show("slope", slope, 1.00211681802045);
  show("intercept", intercept, -0.262323073774029);
  show("residual deviation", sqrt(residual / (n - 2)), 0.884796396144373);
  show("R squared", r_squared, 0.999993745883712);
  return fabs(slope - 1.00211681802045) < 1e-12 ? 0 : 1;
}
