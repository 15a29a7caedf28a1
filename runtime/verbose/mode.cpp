#include "runtime/dispatch/environment.h"
#include "runtime/dispatch/lock.h"
#include "runtime/text.h"
#include "runtime/verbose/verbose.h"

extern "C" {
int qsl_verbose_mode = -1;
}

namespace qsl {

volatile int verbose_mode_lock = 0;
volatile int verbose_file_lock = 0;

}  // namespace qsl

namespace {

char file_name[4096];
bool file_name_read = false;

// Only a text that is the number 1 as a whole turns the mode on.
int mode_from_environment() {
  char text[128];
  if (qsl_getenv("QSL_VERBOSE", text, sizeof text) <= 0) return 0;
  const char* end;
  const int value = qsl::parse_int(text, &end);
  return *end == '\0' && value == 1 ? 1 : 0;
}

}  // namespace

extern "C" {

int* qsl_verbose_mode_ptr() {
  if (__atomic_load_n(&qsl_verbose_mode, __ATOMIC_ACQUIRE) == -1) {
    qsl::LockGuard guard(&qsl::verbose_mode_lock);
    if (qsl_verbose_mode == -1) {
      __atomic_store_n(&qsl_verbose_mode, mode_from_environment(), __ATOMIC_RELEASE);
    }
  }
  return &qsl_verbose_mode;
}

const char* qsl_verbose_file() {
  if (!__atomic_load_n(&file_name_read, __ATOMIC_ACQUIRE)) {
    qsl::LockGuard guard(&qsl::verbose_file_lock);
    if (!file_name_read) {
      qsl_getenv("QSL_VERBOSE_OUTPUT_FILE", file_name, sizeof file_name);
      __atomic_store_n(&file_name_read, true, __ATOMIC_RELEASE);
    }
  }
  return file_name;
}
}
