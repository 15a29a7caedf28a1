#include "lapack/tuning.h"

extern "C" {

qsl_progress_callback qsl_progress_installed = nullptr;

int qsl_progress_continue(const int*, const int*, const char*, int) { return 0; }

int qsl_progress_hook(const int* thread, const int* step, const char* stage, int stage_length) {
  const auto callback = __atomic_load_n(&qsl_progress_installed, __ATOMIC_ACQUIRE);
  return callback != nullptr ? callback(thread, step, stage, stage_length) : 0;
}

void qsl_progress_set_default(qsl_progress_callback callback) {
  if (__atomic_load_n(&qsl_progress_installed, __ATOMIC_ACQUIRE) == nullptr) {
    __atomic_store_n(&qsl_progress_installed, callback, __ATOMIC_RELEASE);
  }
}
}
