#include "runtime/dispatch/cpu_type.h"

#include "runtime/dispatch/detect.h"
#include "runtime/dispatch/enable.h"
#include "runtime/dispatch/features.h"
#include "runtime/dispatch/lock.h"
#include "runtime/dispatch/override.h"
#include "runtime/dispatch/reproducibility.h"
#include "runtime/messages/messages.h"

extern "C" {

int qsl_cpu_type_cached = -1;

// Names of the modules of a multi-file layout. This library is one file and loads none of them: an
// entry that is not null says that the type is usable.
const char* const qsl_cpu_type_module[10] = {
    "qsl_p4.dll",   "qsl_p4.dll",  "qsl_p4.dll",   "qsl_p4.dll", "qsl_p4m.dll",
    "qsl_p4m3.dll", "qsl_avx.dll", "qsl_avx2.dll", nullptr,      "qsl_avx512.dll"};
}

namespace qsl {
namespace {

bool usable(int type) { return type >= 2 && type <= 9 && qsl_cpu_type_module[type] != nullptr; }

// One step only: a raw 10 ends as 8.
int fold(int type) {
  if (type == QSL_CPU_AVX512_MIC_E1) return QSL_CPU_AVX512_MIC;
  if (type == QSL_CPU_AVX512_MIC) return QSL_CPU_AVX2;
  return type;
}

// The raw type of a fixed reproducibility branch.
int branch_type(int mode) {
  switch (mode) {
    case 3:
    case 4:
    case 5:
      return QSL_CPU_SSE2;
    case 6:
    case 7:
      return QSL_CPU_SSSE3;
    case 8:
      return QSL_CPU_SSE42;
    case 9:
      return QSL_CPU_AVX;
    case 10:
      return QSL_CPU_AVX2;
    case 11:
      return QSL_CPU_AVX512_MIC;
    case 12:
      return QSL_CPU_AVX512;
    case 13:
      return QSL_CPU_AVX512_MIC_E1;
    default:
      return -4;
  }
}

// Why no type could be decided.
enum class Refusal {
  none,
  override_value,  // the override names a type without a module
  below_minimum,   // the processor lacks SSE2
  no_module,       // the detected type has no module
  branch,          // the fixed branch has no module
};

struct Decision {
  int type;  // folded; the override's value when that is refused
  Refusal refusal;
};

Decision from_detection() {
  const int raw = detect_raw_type();
  if (raw == -1) return {-1, Refusal::below_minimum};
  const int type = fold(raw);
  return {type, usable(type) ? Refusal::none : Refusal::no_module};
}

Decision from_branch(int mode) {
  const int raw = branch_type(mode);
  if (__atomic_load_n(&qsl_enable_parsed, __ATOMIC_ACQUIRE) == 0) apply_enable_instructions();
  if (!usable(raw)) return {-1, Refusal::branch};
  // A branch is taken without a test of the processor, but even the lowest needs SSE2.
  if (!has_features(QSL_FEAT_SSE2)) return {-1, Refusal::below_minimum};
  // The limit compares a level's number with a type's number, and of all levels only 5 counts.
  const int limit = qsl_enable_level;
  if (limit >= 0 && raw > limit && limit == 5 && has_features(QSL_FEAT_SSE42)) {
    const int detected = detect_raw_type();
    if (detected == -1) return {-1, Refusal::below_minimum};
    return {fold(detected), Refusal::none};
  }
  return {fold(raw), Refusal::none};
}

// Holds the init lock's caller to the order: reproducibility mode, override, detection or branch.
Decision decide() {
  const int mode = qsl_cbwr_query_unlocked(1);
  if (cpu_override_active()) {
    const int value = qsl_debug_cpu_value;
    // The test is made on the raw value, the folded one is stored.
    if (!usable(value)) return {value, Refusal::override_value};
    return {fold(value), Refusal::none};
  }
  if (mode == QSL_CBWR_OFF || mode == QSL_CBWR_AUTO) return from_detection();
  return from_branch(mode);
}

// What a refusal prints.
void report(const Decision& decision) {
  switch (decision.refusal) {
    case Refusal::override_value:
      qsl_print_message(0, QSL_MSG_CPU_NOT_SUPPORTED, 1, decision.type);
      break;
    case Refusal::below_minimum:
      report_below_minimum();
      break;
    case Refusal::branch: {
      // The message promises AUTO, and detection runs, but the branch stays refused.
      qsl_print_message(0, QSL_MSG_CBWR_MODE, 0);
      int error = 0;
      qsl_detect_cpu_type(&error);
      break;
    }
    case Refusal::no_module:
    case Refusal::none:
      break;
  }
}

bool decided(int type) { return type != -1; }

}  // namespace

int cpu_type_or_undecided() {
  int type = __atomic_load_n(&qsl_cpu_type_cached, __ATOMIC_ACQUIRE);
  if (type >= 0) return type;
  qsl_lock_acquire(&qsl_init_lock);
  const Decision decision = decide();
  qsl_lock_release(&qsl_init_lock);
  return decision.refusal == Refusal::none ? decision.type : -1;
}

}  // namespace qsl

extern "C" int qsl_get_cpu_type() {
  using qsl::Refusal;
  int type = __atomic_load_n(&qsl_cpu_type_cached, __ATOMIC_ACQUIRE);
  if (type >= 0) return type;

  qsl_lock_acquire(&qsl_init_lock);
  type = __atomic_load_n(&qsl_cpu_type_cached, __ATOMIC_ACQUIRE);
  if (!qsl::decided(type)) {
    const qsl::Decision decision = qsl::decide();
    if (decision.refusal != Refusal::none) {
      qsl::report(decision);
      qsl_lock_release(&qsl_init_lock);
      qsl_fatal_exit(1);
      return -1;
    }
    type = decision.type;
    __atomic_store_n(&qsl_cpu_type_cached, type, __ATOMIC_RELEASE);
  }
  qsl_lock_release(&qsl_init_lock);
  return type;
}
