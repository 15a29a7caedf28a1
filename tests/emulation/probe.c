/* Calls the library on an emulated processor and checks what comes back.
 *
 *   probe [NAME=OFFSET ...]   every exported routine family; afterwards prints, for each dispatcher
 *                             slot at OFFSET (hexadecimal, from the start of the library's image),
 *                             "slot NAME OFFSET" with the offset of the code it holds, 0 when none
 *   probe early               only calls that return before any dispatcher
 *
 * Exit status 0 and a line "results ok", or 2 and the name of the call that went wrong. Built
 * without SSE, so that it runs on processors that the library refuses. All values are small
 * integers: every order of summation gives the same exact result. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "qsl/qsl.h"

enum { COUNT = 77 };

static double x[2 * COUNT], y[2 * COUNT], z[2 * COUNT];

static void require(int condition, const char* what) {
  if (!condition) {
    printf("results bad: %s\n", what);
    exit(2);
  }
}

static void early_returns(void) {
  const int none = 0, one = 1;
  require(DDOT(&none, x, &one, y, &one) == 0.0, "DDOT of nothing");
  cblas_zcopy(0, x, 1, y, 1);
  require(y[0] == 0.0, "cblas_zcopy of nothing");
}

static void dot_products(void) {
  const int n = COUNT, one = 1, minus_two = -2;
  double forward = 0, backward = 0;
  for (int i = 0; i < COUNT; i++) {
    forward += x[i] * y[i];
    backward += x[2 * (COUNT - 1 - i)] * y[i];
  }
  require(DDOT(&n, x, &one, y, &one) == forward, "DDOT");
  require(cblas_ddot(n, x + 1, 1, y + 1, 1) == forward - x[0] * y[0] + x[n] * y[n], "cblas_ddot");
  require(cblas_ddot(n, x, minus_two, y, 1) == backward, "cblas_ddot, stride -2");
}

static void complex_vectors(void) {
  const double alpha[2] = {2, -3};
  cblas_zcopy(COUNT, y, 1, z, 1);
  require(memcmp(y, z, sizeof y) == 0, "cblas_zcopy");
  cblas_zaxpy(COUNT, alpha, x, 1, z, 1);
  for (int i = 0; i < 2 * COUNT; i += 2) {
    require(z[i] == y[i] + 2 * x[i] + 3 * x[i + 1], "cblas_zaxpy, real part");
    require(z[i + 1] == y[i + 1] + 2 * x[i + 1] - 3 * x[i], "cblas_zaxpy, imaginary part");
  }
}

/* Two systems whose pivots are powers of two. */
static void compact_batches(void) {
  complex_double a0[4] = {{2, 0}, {0, 2}, {1, 0}, {4, 1}}, b0[2] = {{2, 1}, {-1, 6}};
  complex_double a1[4] = {{4, 0}, {2, 0}, {0, 2}, {2, 1}}, b1[2] = {{0, 8}, {4, 4}};
  complex_double *a[2] = {a0, a1}, *b[2] = {b0, b1};
  const complex_double one = {1, 0};
  const int format = qsl_get_format_compact();
  double ap[64], bp[32];
  int info = -1;
  require(qsl_zget_size_compact(2, 2, format, 2) <= (int)sizeof ap, "qsl_zget_size_compact");
  qsl_zgepack_compact(CblasColMajor, 2, 2, a, 2, ap, 2, format, 2);
  qsl_zgepack_compact(CblasColMajor, 2, 1, b, 2, bp, 2, format, 2);
  qsl_zgetrfnp_compact(CblasColMajor, 2, 2, ap, 2, &info, format, 2);
  qsl_ztrsm_compact(CblasColMajor, CblasLeft, CblasLower, CblasNoTrans, CblasUnit, 2, 1, &one, ap,
                    2, bp, 2, format, 2);
  qsl_ztrsm_compact(CblasColMajor, CblasLeft, CblasUpper, CblasNoTrans, CblasNonUnit, 2, 1, &one,
                    ap, 2, bp, 2, format, 2);
  qsl_zgeunpack_compact(CblasColMajor, 2, 1, b, 2, bp, 2, format, 2);
  require(info == 0, "qsl_zgetrfnp_compact");
  require(b0[0].real == 1 && b0[0].imag == 0 && b0[1].real == 0 && b0[1].imag == 1,
          "the first compact system");
  require(b1[0].real == 0 && b1[0].imag == 1 && b1[1].real == 2 && b1[1].imag == 0,
          "the second compact system");
}

static void memory(void) {
  void* block = QSL_malloc(1000, 64);
  require(block != NULL && (uintptr_t)block % 64 == 0, "QSL_malloc");
  memset(block, 1, 1000);
  QSL_free(block);
  QSL_Free_Buffers();
}

static void print_slots(int count, char** arguments) {
  Dl_info library;
  require(dladdr((void*)&DDOT, &library) != 0, "dladdr");
  const uintptr_t base = (uintptr_t)library.dli_fbase;
  for (int i = 0; i < count; i++) {
    char* offset = strchr(arguments[i], '=');
    require(offset != NULL, arguments[i]);
    *offset++ = '\0';
    const uintptr_t code = *(uintptr_t*)(base + strtoul(offset, NULL, 16));
    printf("slot %s %lx\n", arguments[i], code ? (unsigned long)(code - base) : 0);
  }
}

int main(int argc, char** argv) {
  if (argc == 2 && strcmp(argv[1], "early") == 0) {
    early_returns();
    memory();
    puts("results ok");
    return 0;
  }
  for (int i = 0; i < 2 * COUNT; i++) {
    x[i] = i % 13 - 6;
    y[i] = i % 7 + 1;
  }
  dot_products();
  complex_vectors();
  compact_batches();
  memory();
  print_slots(argc - 1, argv + 1);
  puts("results ok");
  return 0;
}
