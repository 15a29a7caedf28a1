/* A superposition of complex oscillations, by complex updates.
 *
 * Data: NIST's "ENSO", 168 months of the pressure difference between Easter Island and Darwin. Its
 * published model is a mean and three cycles: the year, El Nino (44.3 months) and the Southern
 * Oscillation (26.9 months). Each cycle is a complex oscillation exp(2 pi i t / period) with a
 * complex amplitude; the model is the real part of their sum. The sum of squared residuals is
 * compared with the published one.
 *
 * Use: ocean_cycles [DATA_FOLDER]
 */
#include <math.h>
#include <stdio.h>

#include "qsl/qsl.h"
#include "read_column.h"

enum { kMonths = 168, kCycles = 3 };

static const double kPi = 3.14159265358979323846;
static const double kMean = 10.510749193;
static const double kCertifiedResidual = 788.53978668;

/* Published parameters: a cosine and a sine of each period are the complex amplitude cos - i sin.
 */
static const struct {
  const char* name;
  double period;
  complex_double amplitude;
} kCycle[kCycles] = {
    {"year", 12.0, {3.0762128085, -0.53280138227}},
    {"El Nino", 44.311088700, {-1.6231428586, -0.52554493756}},
    {"Southern Oscillation", 26.887614440, {0.21232288488, -1.4966870418}},
};

int main(int argc, char** argv) {
  double observed[kMonths], residual = 0;
  complex_double mean = {0, 0}, sum[kMonths], oscillation[kMonths];
  char path[1024];
  int t, c;

  data_path(path, sizeof path, argc, argv, "enso.txt");
  if (read_column(path, 0, observed, kMonths) != kMonths) return 1;

  /* sum := mean, one element repeated by a stride of 0; then sum := sum + amplitude * oscillation.
   */
  mean.real = kMean;
  cblas_zcopy(kMonths, &mean, 0, sum, 1);
  printf("Southern Pacific pressure (NIST ENSO, %d months): mean %.2f and %d cycles\n", kMonths,
         kMean, kCycles);
  for (c = 0; c < kCycles; ++c) {
    const complex_double a = kCycle[c].amplitude;
    for (t = 0; t < kMonths; ++t) {
      const double angle = 2 * kPi * (t + 1) / kCycle[c].period;
      oscillation[t].real = cos(angle);
      oscillation[t].imag = sin(angle);
    }
    cblas_zaxpy(kMonths, &a, oscillation, 1, sum, 1);
    printf("  %-21s period %5.2f months, amplitude %.3f, phase %7.1f degrees\n", kCycle[c].name,
           kCycle[c].period, hypot(a.real, a.imag), atan2(a.imag, a.real) * 180 / kPi);
  }
  for (t = 0; t < kMonths; ++t) {
    const double r = observed[t] - sum[t].real;
    residual += r * r;
  }
  printf("  %-22s %16s %16s\n", "", "QSL", "NIST certified");
  printf("  %-22s %16.8f %16.8f\n", "sum of squared errors", residual, kCertifiedResidual);
  return fabs(residual - kCertifiedResidual) < 1e-5 ? 0 : 1;
}
