/* The voltage along a telephone line, open at its end: a complex band system.
 *
 * Data: the constants of a 24-gauge cable at 100 kHz, 70 degrees Fahrenheit, from W. D. Reeve,
 * "Subscriber Loop Signaling and Transmission Handbook: Digital", IEEE Press 1995. The line obeys
 * O. Heaviside's equation V'' = (R + jwL) (G + jwC) V. Differences of the fourth order make it a
 * matrix with two diagonals on either side, and two more above in its first row; the exact
 * solution, a hyperbolic cosine, is known and printed beside ours.
 *
 * Use: telephone_line
 */
#include <complex.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>

#include "qsl/qsl.h"

enum { kNodes = 2000, kLower = 2, kUpper = 4, kRows = 2 * kLower + kUpper + 1 };

/* Per kilometre. */
static const double kResistance = 191.63;    /* ohm */
static const double kInductance = 580.7e-6;  /* henry */
static const double kConductance = 3.327e-6; /* siemens */
static const double kCapacitance = 51.57e-9; /* farad */
static const double kFrequency = 100e3;      /* hertz */
static const double kLength = 3;             /* kilometres */

/* Element (i, j) of the band: column-major, kLower rows of room for fill on top. */
static void set(complex_double* band, int i, int j, double complex value) {
  complex_double* element = band + j * kRows + kLower + kUpper + i - j;
  element->real = creal(value);
  element->imag = cimag(value);
}

int main(void) {
  const double w = 2 * 3.14159265358979323846 * kFrequency;
  const double complex gamma_squared =
      (kResistance + I * w * kInductance) * (kConductance + I * w * kCapacitance);
  const double complex gamma = csqrt(gamma_squared);
  /* Node 0 is the first one after the source, which is held at 1 volt. */
  const double h = kLength / kNodes;
  const double complex middle = -30 - 12 * h * h * gamma_squared;
  complex_double* band = calloc((size_t)kRows * kNodes, sizeof *band);
  complex_double* voltage = calloc(kNodes, sizeof *voltage);
  int* pivots = calloc(kNodes, sizeof *pivots);
  double worst = 0;
  int i, j, status;
  if (band == NULL || voltage == NULL || pivots == NULL) return 1;

  for (i = 0; i < kNodes; ++i) {
    if (i == 0) {
      /* One-sided differences beside the source: (10, -15, -4, 14, -6, 1) / 12. */
      static const double weight[5] = {-15, -4, 14, -6, 1};
      for (j = 0; j < 5; ++j) set(band, 0, j, weight[j]);
      set(band, 0, 0, -15 - 12 * h * h * gamma_squared);
      voltage[0].real = -10;
    } else {
      static const double weight[5] = {-1, 16, -30, 16, -1};
      /* Beyond the open end the voltage is its own mirror image. */
      double complex row[5] = {0};
      for (j = -2; j <= 2; ++j) {
        int column = i + j;
        if (column > kNodes - 1) column = 2 * (kNodes - 1) - column;
        if (column < 0) {
          voltage[i].real -= weight[j + 2];
        } else {
          row[column - i + 2] += weight[j + 2];
        }
      }
      row[2] += middle + 30;
      for (j = -2; j <= 2; ++j) {
        if (i + j >= 0 && i + j < kNodes) set(band, i, i + j, row[j + 2]);
      }
    }
  }
  status =
      LAPACKE_zgbsv(CblasColMajor, kNodes, kLower, kUpper, 1, band, kRows, pivots, voltage, kNodes);
  if (status != 0) return 1;

  printf("Voltage along %g km of telephone line at %g kHz (%d unknowns, %d diagonals)\n", kLength,
         kFrequency / 1000, kNodes, kLower + kUpper + 1);
  printf("  %8s %26s %26s\n", "km", "QSL", "exact");
  for (i = 0; i < kNodes; ++i) {
    const double at = (i + 1) * h;
    const double complex exact = ccosh(gamma * (kLength - at)) / ccosh(gamma * kLength);
    const double complex ours = voltage[i].real + I * voltage[i].imag;
    const double error = cabs(ours - exact) / cabs(exact);
    if (!(error <= worst)) worst = error;
    if ((i + 1) % (kNodes / 4) == 0) {
      printf("  %8.2f %12.8f %+12.8fj %12.8f %+12.8fj\n", at, creal(ours), cimag(ours),
             creal(exact), cimag(exact));
    }
  }
  printf("  largest relative difference: %.0e\n", worst);
  free(band);
  free(voltage);
  free(pivots);
  return worst < 1e-7 ? 0 : 1;
}
