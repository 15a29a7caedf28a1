/* The same bits, wherever the arrays lie.
 *
 * Moves one vector through memory in steps of 8 bytes and takes its dot product with a fixed one. A
 * sum of floating-point numbers depends on the order of its terms, and fast code may choose that
 * order by the alignment of the arrays. With QSL_CBWR=COMPATIBLE the order depends on n alone.
 *
 * Use: QSL_CBWR=COMPATIBLE same_bits [DATA_FOLDER]
 */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "qsl/qsl.h"
#include "read_column.h"

enum { kMaxRows = 64, kPositions = 8 };

int main(int argc, char** argv) {
  double x[kMaxRows], y[kMaxRows];
  uint64_t first = 0;
  int differing = 0, n, i;
  char path[1024];
  const char* mode = getenv("QSL_CBWR");
  double *x_space, *y_space;

  data_path(path, sizeof path, argc, argv, "norris.txt");
  n = read_column(path, 0, y, kMaxRows);
  if (n < 1 || read_column(path, 1, x, kMaxRows) != n) return 1;
  x_space = QSL_malloc((kMaxRows + kPositions) * sizeof *x_space, 64);
  y_space = QSL_malloc((kMaxRows + kPositions) * sizeof *y_space, 64);
  if (x_space == NULL || y_space == NULL) return 1;

  printf("Dot product of the Norris columns at %d x %d alignments, QSL_CBWR=%s\n", kPositions,
         kPositions, mode != NULL ? mode : "(unset)");
  for (i = 0; i < kPositions * kPositions; ++i) {
    double *px = x_space + i % kPositions, *py = y_space + i / kPositions;
    double sum;
    uint64_t bits;
    memcpy(px, x, n * sizeof *x);
    memcpy(py, y, n * sizeof *y);
    sum = cblas_ddot(n, px, 1, py, 1);
    memcpy(&bits, &sum, sizeof bits);
    if (i == 0) {
      first = bits;
      printf("  at 64-byte alignment   %.10f = 0x%016llx\n", sum, (unsigned long long)bits);
    }
    if (bits != first) ++differing;
  }
  printf("  other bits elsewhere   %d of %d positions\n", differing, kPositions * kPositions);
  QSL_free(x_space);
  QSL_free(y_space);
  return mode != NULL && differing != 0;
}
