// Tests of the processor's vendor and of features that a few kernels ask for by themselves.
#include <cpuid.h>

#include "runtime/dispatch/cpu_type.h"
#include "runtime/dispatch/features.h"
#include "runtime/dispatch/reproducibility.h"
#include "runtime/text.h"

extern "C" {
int qsl_is_genuine = -1;
int qsl_is_amd = -1;
int qsl_has_fma4 = -1;
int qsl_is_mic_e1 = -1;
}

namespace {

// Each answer is cached in a plain word; racing writers store the same value.
template <typename Test>
int cached(int* word, Test test) {
  int value = __atomic_load_n(word, __ATOMIC_RELAXED);
  if (value < 0) {
    value = test() ? 1 : 0;
    __atomic_store_n(word, value, __ATOMIC_RELAXED);
  }
  return value;
}

bool vendor_is(const char* vendor) {
  std::uint32_t max_leaf, text[4] = {};
  __cpuid(0, max_leaf, text[0], text[2], text[1]);
  return qsl::text_equal(reinterpret_cast<const char*>(text), vendor);
}

// Off and AUTO leave a question to the processor; a fixed branch answers by itself.
bool mode_asks_processor(int mode) { return mode == QSL_CBWR_OFF || mode == QSL_CBWR_AUTO; }

}  // namespace

extern "C" {

int qsl_cpu_is_genuine() {
  return cached(&qsl_is_genuine, [] {
    return qsl::text_equal(QSL_PREFERRED_VENDOR, "any") || vendor_is(QSL_PREFERRED_VENDOR);
  });
}

int qsl_cpu_is_genuine_cbwr() {
  const int mode = qsl_cbwr_query(1);
  return mode_asks_processor(mode) ? qsl_cpu_is_genuine() : mode != QSL_CBWR_COMPATIBLE;
}

int qsl_cpu_has_sse41() { return qsl::has_features(QSL_FEAT_SSE41); }

int qsl_cpu_has_sse41_cbwr() {
  const int mode = qsl_cbwr_query(1);
  return mode_asks_processor(mode) ? qsl_cpu_has_sse41() : mode >= QSL_CBWR_SSE4_1;
}

int qsl_cpu_has_fma4() {
  if (!mode_asks_processor(qsl_cbwr_query(1))) return 0;
  return cached(&qsl_has_fma4, [] {
    constexpr std::uint32_t kFma4 = std::uint32_t{1} << 16;
    const int is_amd = cached(&qsl_is_amd, [] { return vendor_is("AuthenticAMD"); });
    if (!is_amd || !qsl::has_features(QSL_FEAT_AVX)) return false;
    std::uint32_t eax, ebx, ecx, edx;
    __cpuid(0x80000001, eax, ebx, ecx, edx);
    return (ecx & kFma4) != 0;
  });
}

int qsl_cpu_is_mic_e1() {
  const int mode = qsl_cbwr_query(1);
  if (!mode_asks_processor(mode) && mode != QSL_CBWR_AVX512_MIC_E1) return 0;
  return cached(&qsl_is_mic_e1, [] { return qsl_cpu_type_query(1) == QSL_CPU_AVX512_MIC_E1; });
}
}
