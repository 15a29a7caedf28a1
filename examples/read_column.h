/* Where the data is, and how a column of numbers is read from it. */
#ifndef QSL_EXAMPLES_READ_COLUMN_H
#define QSL_EXAMPLES_READ_COLUMN_H

#include <stdio.h>
#include <stdlib.h>

/* The folder of the data where the program was built; its first argument says another one. */
#ifndef QSL_EXAMPLES_DATA
#define QSL_EXAMPLES_DATA "examples/data"
#endif

/* The path of a data file, `size` bytes at most. */
static void data_path(char* path, size_t size, int argc, char** argv, const char* name) {
  snprintf(path, size, "%s/%s", argc > 1 ? argv[1] : QSL_EXAMPLES_DATA, name);
}

/* Column 0, 1, ... of the file into values[0 .. limit-1]; the number of rows, or 0 on failure.
 * Lines that begin with # are comments. */
static int read_column(const char* path, int column, double* values, int limit) {
  FILE* file = fopen(path, "r");
  char line[512];
  int rows = 0;
  if (file == NULL) {
    perror(path);
    return 0;
  }
  while (rows < limit && fgets(line, sizeof line, file) != NULL) {
    char* position = line;
    double value = 0;
    int i;
    if (line[0] == '#') continue;
    for (i = 0; i <= column; ++i) {
      char* end;
      value = strtod(position, &end);
      if (end == position) break;
      position = end;
    }
    if (i > column) values[rows++] = value;
  }
  fclose(file);
  return rows;
}

#endif
