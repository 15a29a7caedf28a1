#include "lapack/c_interface/c_interface.h"
#include "runtime/messages/messages.h"

extern "C" void qsl_lapacke_xerbla(const char* name, int info) {
  if (info == QSL_LAPACKE_WORK_MEMORY) {
    qsl_print_line(0, "Not enough memory to allocate work array in %s\n", 1, name);
  } else if (info == QSL_LAPACKE_TRANSPOSE_MEMORY) {
    qsl_print_line(0, "Not enough memory to transpose matrix in %s\n", 1, name);
  } else if (info < 0) {
    qsl_print_line(0, "Wrong parameter %d in %s\n", 2, -info, name);
  }
}
