#include "runtime/dispatch/detect.h"

#include "runtime/dispatch/cpu_type.h"
#include "runtime/dispatch/enable.h"
#include "runtime/dispatch/features.h"
#include "runtime/dispatch/override.h"
#include "runtime/messages/messages.h"

namespace qsl {
namespace {

// A processor has CPUID when bit 21 of its flags register can be toggled.
bool has_cpuid() {
  constexpr unsigned kIdFlag = 1u << 21;
  unsigned before, after;
  asm volatile(
      "pushfl\n"
      "pushfl\n"
      "popl %0\n"
      "movl %0, %1\n"
      "xorl %2, %1\n"
      "pushl %1\n"
      "popfl\n"
      "pushfl\n"
      "popl %1\n"
      "popfl\n"
      : "=&r"(before), "=&r"(after)
      : "i"(kIdFlag)
      : "cc");
  return ((before ^ after) & kIdFlag) != 0;
}

int below_avx(bool allow_sse42) {
  if (allow_sse42 && has_features(QSL_FEAT_SSE42)) return QSL_CPU_SSE42;
  if (has_features(QSL_FEAT_SSSE3)) return QSL_CPU_SSSE3;
  if (has_features(QSL_FEAT_SSE2)) return QSL_CPU_SSE2;
  return -1;
}

}  // namespace

int detect_raw_type() {
  if (!has_cpuid()) return QSL_CPU_SSE2;
  if (cpu_override_active()) return qsl_debug_cpu_value;
  if (__atomic_load_n(&qsl_enable_parsed, __ATOMIC_ACQUIRE) == 0) apply_enable_instructions();
  if (!qsl_cpu_is_genuine()) return below_avx(true);

  if (has_features(QSL_FEAT_AVX)) {
    // AVX-512 wants the AVX2 features as well as its own.
    if (has_features(QSL_FEAT_AVX2)) {
      if (qsl_enable_avx512 && has_features(QSL_FEAT_AVX512, QSL_FEAT_HIGH_AVX512)) {
        return QSL_CPU_AVX512;
      }
      if (qsl_enable_avx2) return QSL_CPU_AVX2;
    }
    if (qsl_enable_avx) return QSL_CPU_AVX;
  }
  return below_avx(qsl_enable_sse42 != 0);
}

void report_below_minimum() {
  qsl_print_message(0, QSL_MSG_MINIMUM_SYSTEM, 0);
  qsl_print_message(0, QSL_MSG_MINIMUM_PROCESSOR, 0);
}

}  // namespace qsl

extern "C" {

int qsl_detect_cpu_type(int* error) {
  const bool from_processor = !qsl::cpu_override_active();
  const int type = qsl::detect_raw_type();
  if (type == -1 && from_processor) {
    qsl::report_below_minimum();
    *error = 1;
  }
  return type;
}

int qsl_cpu_type_query(int detect) {
  if (!detect) return __atomic_load_n(&qsl_cpu_type_cached, __ATOMIC_ACQUIRE);
  int error = 0;
  const int type = qsl_detect_cpu_type(&error);
  if (error) qsl_fatal_exit(error);
  return type;
}
}
