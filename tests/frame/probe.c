/* A caller of the shared library, driven by its arguments. Each is one step:
 *
 *   empty        DDOT with n = 0
 *   ddot         DDOT of (1,2,3) and (4,5,6)
 *   cblas_ddot   the same through cblas_ddot
 *   zaxpy zcopy  small complex calls
 *   null         DDOT with null pointers for integers
 *   memory       QSL_malloc, QSL_free, QSL_Free_Buffers
 *   race         eight threads make their first calls at once
 *   products     two threads make their first calls at once, DGEMM of orders 500 and 600; prints
 *                what each saw its call take
 *   bits         DDOT of 1003 numbers at sixteen alignments: prints the different results
 *   addresses    prints the addresses of the vectors
 *   load=PATH    loads a module
 *   exit         registers an exit handler that prints "exit handler"
 *   say=TEXT     prints a text and does not flush it
 *   remove=PATH  removes a file
 *   set=N=V      sets an environment variable
 *
 * A wrong result ends the program with status 9. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <pthread.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "qsl/qsl.h"

static const double x[3] = {1, 2, 3}, y[3] = {4, 5, 6};
static const int one = 1;

static void require(int condition, const char* what) {
  if (!condition) {
    fprintf(stderr, "wrong: %s\n", what);
    exit(9);
  }
}

static void empty(void) {
  const int none = 0;
  require(DDOT(&none, x, &one, y, &one) == 0, "DDOT of nothing");
}

static void ddot(void) {
  const int n = 3;
  require(DDOT(&n, x, &one, y, &one) == 32, "DDOT");
}

static void zaxpy(void) {
  const complex_double alpha = {2, 1}, a[2] = {{1, 2}, {3, 4}};
  complex_double b[2] = {{1, 1}, {1, 1}};
  cblas_zaxpy(2, &alpha, a, 1, b, 1);
  require(b[0].real == 1 && b[0].imag == 6 && b[1].real == 3 && b[1].imag == 12, "cblas_zaxpy");
}

static void zcopy(void) {
  const complex_double a[2] = {{1, 2}, {3, 4}};
  complex_double b[2] = {{0, 0}, {0, 0}};
  cblas_zcopy(2, a, 1, b, 1);
  require(memcmp(a, b, sizeof a) == 0, "cblas_zcopy");
}

static void null_integers(void) {
  const int n = 3;
  require(DDOT(NULL, x, &one, y, &one) == 0, "n null");
  require(DDOT(NULL, NULL, NULL, NULL, NULL) == 0, "all null");
  require(DDOT(&n, x, NULL, y, NULL) == 12, "strides null");
  require(DDOT(&n, x, NULL, y, &one) == 15, "one stride null");
}

static void memory(void) {
  void* block = QSL_malloc(1000, 64);
  require(block != NULL && (uintptr_t)block % 64 == 0, "QSL_malloc");
  memset(block, 1, 1000);
  QSL_free(block);
  QSL_free(NULL);
  require(QSL_malloc(0, 64) == NULL, "QSL_malloc of nothing");
  QSL_Free_Buffers();
}

static pthread_barrier_t start;
static void* first_calls(void* unused) {
  (void)unused;
  pthread_barrier_wait(&start);
  ddot();
  zaxpy();
  zcopy();
  return NULL;
}

static void race(void) {
  pthread_t threads[8];
  pthread_barrier_init(&start, NULL, 8);
  for (int i = 0; i < 8; i++)
    require(pthread_create(&threads[i], NULL, first_calls, NULL) == 0, "thread");
  for (int i = 0; i < 8; i++) pthread_join(threads[i], NULL);
}

static double now(void) {
  struct timespec time;
  clock_gettime(CLOCK_MONOTONIC, &time);
  return (double)time.tv_sec + 1e-9 * (double)time.tv_nsec;
}

struct product {
  int n;
  double seconds;
};

static void* first_product(void* argument) {
  struct product* product = argument;
  const int n = product->n;
  double* a = calloc(3 * (size_t)n * (size_t)n, sizeof *a);
  require(a != NULL, "memory");
  pthread_barrier_wait(&start);
  const double begin = now();
  cblas_dgemm(CblasColMajor, CblasNoTrans, CblasNoTrans, n, n, n, 1, a, n, a + n * n, n, 0,
              a + 2 * n * n, n);
  product->seconds = now() - begin;
  free(a);
  return NULL;
}

static void products(void) {
  struct product product[2] = {{500, 0}, {600, 0}};
  pthread_t threads[2];
  pthread_barrier_init(&start, NULL, 2);
  for (int i = 0; i < 2; i++)
    require(pthread_create(&threads[i], NULL, first_product, &product[i]) == 0, "thread");
  for (int i = 0; i < 2; i++) pthread_join(threads[i], NULL);
  for (int i = 0; i < 2; i++) printf("took %d %.9f\n", product[i].n, product[i].seconds);
}

static void bits(void) {
  enum { COUNT = 1003 };
  static double space_x[COUNT + 16], space_y[COUNT + 16];
  const int n = COUNT;
  uint64_t seen[256];
  int different = 0;
  for (int i = 0; i < 16; i++) {
    for (int j = 0; j < 16; j++) {
      /* Every multiple of four bytes: doubles have no more alignment than that here. */
      char *a = (char*)space_x + 4 * i, *b = (char*)space_y + 4 * j;
      uint64_t state = 12345;
      for (int k = 0; k < COUNT; k++) {
        state = state * 6364136223846793005u + 1442695040888963407u;
        double value = (double)(int64_t)state / 1e18;
        memcpy(a + 8 * k, &value, 8);
        value = (double)(int32_t)(state >> 16) / 1e7;
        memcpy(b + 8 * k, &value, 8);
      }
      const double sum = DDOT(&n, (const double*)a, &one, (const double*)b, &one);
      uint64_t word;
      memcpy(&word, &sum, 8);
      int known = 0;
      for (int k = 0; k < different; k++) known |= seen[k] == word;
      if (!known) seen[different++] = word;
    }
  }
  for (int k = 0; k < different; k++) printf("%016llx\n", (unsigned long long)seen[k]);
}

static void exit_handler(void) { puts("exit handler"); }

static const struct {
  const char* name;
  void (*run)(void);
} steps[] = {{"empty", empty},   {"ddot", ddot}, {"zaxpy", zaxpy},
             {"zcopy", zcopy},   {"race", race}, {"null", null_integers},
             {"memory", memory}, {"bits", bits}, {"products", products}};

static void run(char* step) {
  for (size_t i = 0; i < sizeof steps / sizeof steps[0]; i++) {
    if (strcmp(step, steps[i].name) == 0) {
      steps[i].run();
      return;
    }
  }
  if (strcmp(step, "cblas_ddot") == 0) {
    require(cblas_ddot(3, x, 1, y, 1) == 32, "cblas_ddot");
  } else if (strcmp(step, "addresses") == 0) {
    printf("%p %p\n", (const void*)x, (const void*)y);
  } else if (strcmp(step, "exit") == 0) {
    atexit(exit_handler);
  } else if (strncmp(step, "say=", 4) == 0) {
    fputs(step + 4, stdout);
  } else if (strncmp(step, "load=", 5) == 0) {
    require(dlopen(step + 5, RTLD_NOW) != NULL, step);
  } else if (strncmp(step, "remove=", 7) == 0) {
    remove(step + 7);
  } else if (strncmp(step, "set=", 4) == 0) {
    putenv(step + 4);
  } else {
    require(0, step);
  }
}

int main(int argc, char** argv) {
  for (int i = 1; i < argc; i++) run(argv[i]);
  return 0;
}
