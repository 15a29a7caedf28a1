#include "runtime/dispatch/reproducibility.h"

#include "runtime/dispatch/cpu_type.h"
#include "runtime/dispatch/environment.h"
#include "runtime/dispatch/features.h"
#include "runtime/dispatch/lock.h"
#include "runtime/text.h"

extern "C" {
int qsl_cbwr_mode = 0;   // 0 is off
int qsl_cbwr_read = -1;  // 1 once QSL_CBWR was read or a mode set
volatile int qsl_init_lock = 0;
}

namespace qsl {
namespace {

struct Keyword {
  const char* text;
  int mode;
};
constexpr Keyword kKeywords[] = {
    {"AUTO", QSL_CBWR_AUTO},
    {"COMPATIBLE", QSL_CBWR_COMPATIBLE},
    {"SSE2", QSL_CBWR_SSE2},
    {"SSE3", QSL_CBWR_SSE2},  // the two lowest branches are one
    {"SSSE3", QSL_CBWR_SSSE3},
    {"SSE4_1", QSL_CBWR_SSE4_1},
    {"SSE4_2", QSL_CBWR_SSE4_2},
    {"AVX", QSL_CBWR_AVX},
    {"AVX2", QSL_CBWR_AVX2},
    {"AVX512_MIC_E1", QSL_CBWR_AVX512_MIC_E1},
    {"AVX512_MIC", QSL_CBWR_AVX512_MIC},
    {"AVX512", QSL_CBWR_AVX512},
};

// A wrong value never fails: it gives AUTO.
int mode_of(const char* value) {
  if (value[0] == '\0') return 0;
  const char* branch = text_after(value, "BRANCH=");
  const char* keyword = branch != nullptr ? branch : value;
  for (const Keyword& row : kKeywords) {
    if (!text_equal(keyword, row.text)) continue;
    if (row.mode == QSL_CBWR_AUTO) return QSL_CBWR_AUTO;
    return qsl_cbwr_check(row.mode) == QSL_CBWR_SUCCESS ? row.mode : QSL_CBWR_AUTO;
  }
  return QSL_CBWR_AUTO;
}

// The highest mode that a raw processor type could serve.
int top_mode(int raw_type) {
  switch (raw_type) {
    case 0:
    case 1:
    case 2:
    case 3:
      return QSL_CBWR_SSE2;
    case 4:
      return qsl_cpu_has_sse41() ? QSL_CBWR_SSE4_1 : QSL_CBWR_SSSE3;
    case 5:
      return QSL_CBWR_SSE4_2;
    case 6:
      return QSL_CBWR_AVX;
    case 7:
      return QSL_CBWR_AVX2;
    case 8:
      return QSL_CBWR_AVX512_MIC;
    case 9:
      return QSL_CBWR_AVX512;
    case 10:
      return QSL_CBWR_AVX512_MIC_E1;
    default:
      return QSL_CBWR_UNKNOWN;
  }
}

int query_result(int what) {
  if (what == -1) return qsl_cbwr_mode;
  return qsl_cbwr_mode == 0 ? QSL_CBWR_OFF : qsl_cbwr_mode & 63;
}

// A mode can be set as long as nothing depends on another one.
bool mode_is_locked() {
  return qsl_cpu_type_query(0) >= 0 ||
         (__atomic_load_n(&qsl_cbwr_read, __ATOMIC_ACQUIRE) == 1 && qsl_cbwr_mode != 0);
}

int locked_result(int mode) { return mode == qsl_cbwr_mode ? QSL_CBWR_SUCCESS : QSL_CBWR_LOCKED; }

void store_mode(int mode) {
  qsl_cbwr_mode = mode;
  __atomic_store_n(&qsl_cbwr_read, 1, __ATOMIC_RELEASE);
}

}  // namespace
}  // namespace qsl

extern "C" {

int qsl_cbwr_check(int mode) {
  const bool genuine = qsl_cpu_is_genuine();
  const int top = genuine ? qsl::top_mode(qsl_cpu_type_query(1)) : int{QSL_CBWR_AUTO};
  if (genuine && mode > top && mode <= QSL_CBWR_AVX512_MIC_E1) return QSL_CBWR_UNSUPPORTED;
  // The many-core branches and the general AVX-512 branch do not include each other.
  const bool foreign_avx512 = (top == QSL_CBWR_AVX512 && mode == QSL_CBWR_AVX512_MIC) ||
                              (top == QSL_CBWR_AVX512_MIC_E1 && mode == QSL_CBWR_AVX512);
  if (genuine && foreign_avx512) return QSL_CBWR_UNSUPPORTED;
  if (mode == QSL_CBWR_AUTO || mode == QSL_CBWR_COMPATIBLE) return QSL_CBWR_SUCCESS;
  if (mode >= QSL_CBWR_SSE2 && mode <= QSL_CBWR_AVX512_MIC_E1) {
    return genuine ? QSL_CBWR_SUCCESS : QSL_CBWR_UNSUPPORTED;
  }
  return QSL_CBWR_UNKNOWN;
}

int qsl_cbwr_query_unlocked(int what) {
  if (what != 1 && what != -1) return QSL_CBWR_BAD_QUERY;
  if (__atomic_load_n(&qsl_cbwr_read, __ATOMIC_ACQUIRE) != 1) {
    char value[128];
    qsl_getenv("QSL_CBWR", value, sizeof value);
    qsl::store_mode(qsl::mode_of(value));
  }
  return qsl::query_result(what);
}

int qsl_cbwr_query(int what) {
  if (what != 1 && what != -1) return QSL_CBWR_BAD_QUERY;
  if (__atomic_load_n(&qsl_cbwr_read, __ATOMIC_ACQUIRE) != 1) {
    qsl::LockGuard guard(&qsl_init_lock);
    return qsl_cbwr_query_unlocked(what);
  }
  return qsl::query_result(what);
}

int qsl_cbwr_set(int mode) {
  if (qsl::mode_is_locked()) return qsl::locked_result(mode);
  qsl::LockGuard guard(&qsl_init_lock);
  if (qsl::mode_is_locked()) return qsl::locked_result(mode);
  if (mode == 0 || mode == QSL_CBWR_OFF) {
    qsl::store_mode(0);
    return QSL_CBWR_SUCCESS;
  }
  if (mode == QSL_CBWR_AUTO) {
    qsl::store_mode(QSL_CBWR_AUTO);
    return QSL_CBWR_SUCCESS;
  }
  // Only the low six bits name the mode; the word is kept as it was given.
  const int status = qsl_cbwr_check(mode & 63);
  if (status == QSL_CBWR_SUCCESS) qsl::store_mode(mode);
  return status;
}
}
