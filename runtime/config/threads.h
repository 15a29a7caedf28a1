// The thread-count variables. The library is sequential: they are read and change nothing.
#pragma once

extern "C" {

// The values of the variables, read on first use; negative where a variable gives none.
struct qsl_thread_settings {
  int num_threads;  // QSL_NUM_THREADS
  int num_stripes;  // QSL_NUM_STRIPES
  // QSL_DOMAIN_NUM_THREADS, by domain
  int domain_all, domain_blas, domain_fft, domain_vml, domain_pardiso;
  int omp_num_threads;     // OMP_NUM_THREADS
  int processes_per_node;  // the first of its family that is set
  int mpi_thread_level;    // A_MPI_THREAD_LEVEL
  int dynamic;             // QSL_DYNAMIC: 0 for "FALSE" and "false", otherwise 1
};
const qsl_thread_settings* qsl_get_thread_settings();

enum qsl_domain {
  QSL_DOMAIN_ALL = 0,
  QSL_DOMAIN_BLAS = 1,
  QSL_DOMAIN_FFT = 2,
  QSL_DOMAIN_VML = 3,
  QSL_DOMAIN_PARDISO = 4,
};

// What the library works with: always one thread, in every domain, and the dynamic adjustment that
// a sequential library reports, 1.
int qsl_get_max_threads();
int qsl_get_domain_threads(qsl_domain domain);
int qsl_get_dynamic();
}

namespace qsl {

extern volatile int thread_settings_lock;  // of the first reading

}  // namespace qsl
