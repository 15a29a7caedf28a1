#include "runtime/dispatch/enable.h"

#include "runtime/dispatch/cpu_type.h"
#include "runtime/dispatch/environment.h"
#include "runtime/dispatch/features.h"
#include "runtime/dispatch/override.h"
#include "runtime/text.h"

extern "C" {
int qsl_enable_parsed = 0;
int qsl_enable_level = -1;
int qsl_enable_sse42 = 1;
int qsl_enable_avx = 1;
int qsl_enable_avx2 = 1;
int qsl_enable_avx512 = 1;
int qsl_enable_mic = 1;
int qsl_enable_mic_e1 = 1;
}

namespace qsl {
namespace {

struct Keyword {
  const char* text;
  int level;
};
constexpr Keyword kKeywords[] = {
    {"AVX512_MIC_E1", 5}, {"AVX512_MIC", 3}, {"AVX512", 4}, {"AVX2", 2}, {"AVX", 1}, {"SSE4_2", 0},
};

int level_of(const char* text) {
  for (const Keyword& keyword : kKeywords) {
    if (text_equal(text, keyword.text)) return keyword.level;
  }
  return -1;
}

// The levels that limit anything, with what each demands and permits. A level whose demand is not
// met changes nothing, so that an unmet request means no limit at all.
struct Limit {
  int level;
  std::uint32_t low_mask, high_mask;
  int avx, avx2, avx512;
};
constexpr Limit kLimits[] = {
    {0, QSL_FEAT_SSE42, 0, 0, 0, 0},
    {1, QSL_FEAT_AVX, 0, 1, 0, 0},
    {2, QSL_FEAT_AVX2, 0, 1, 1, 0},
    {4, QSL_FEAT_AVX512, QSL_FEAT_HIGH_AVX512, 1, 1, 1},
};

void apply_level(int level) {
  for (const Limit& limit : kLimits) {
    if (limit.level != level || !has_features(limit.low_mask, limit.high_mask)) continue;
    qsl_enable_sse42 = 1;
    qsl_enable_avx = limit.avx;
    qsl_enable_avx2 = limit.avx2;
    qsl_enable_avx512 = limit.avx512;
    qsl_enable_mic = 0;
    qsl_enable_mic_e1 = 0;
  }
}

}  // namespace

void apply_enable_instructions() {
  char text[30];
  qsl_getenv("QSL_ENABLE_INSTRUCTIONS", text, sizeof text);
  qsl_enable_level = level_of(text);
  if (qsl_cpu_is_genuine() && !cpu_override_active()) apply_level(qsl_enable_level);
  __atomic_store_n(&qsl_enable_parsed, 1, __ATOMIC_RELEASE);
}

namespace {

int flag_after_parsing(const int& flag) {
  if (__atomic_load_n(&qsl_enable_parsed, __ATOMIC_ACQUIRE) == 0) apply_enable_instructions();
  return flag;
}

}  // namespace
}  // namespace qsl

extern "C" {
int qsl_enable_sse42_get() { return qsl::flag_after_parsing(qsl_enable_sse42); }
int qsl_enable_avx_get() { return qsl::flag_after_parsing(qsl_enable_avx); }
int qsl_enable_avx2_get() { return qsl::flag_after_parsing(qsl_enable_avx2); }
int qsl_enable_avx512_get() { return qsl::flag_after_parsing(qsl_enable_avx512); }
}
