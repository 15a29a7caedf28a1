#include "runtime/dispatch/dispatcher.h"

#include "runtime/dispatch/cpu_type.h"
#include "runtime/dispatch/lock.h"
#include "runtime/dispatch/reproducibility.h"
#include "runtime/messages/messages.h"

#if defined(__ELF__)
// The address of the instruction after the call, in eax: how a dispatcher finds its slot.
extern "C" [[gnu::naked]] void qsl_pc_thunk() {
  asm("movl (%esp), %eax\n"
      "ret\n");
}
#endif

namespace qsl {
namespace {

// The two lowest levels share the reproducible body whenever a mode is on, AUTO too. From SSE4.2
// upward the mode has already fixed the type.
Code reproducible_or(Code variant, Code cnr) {
  if (cnr == nullptr || qsl_cbwr_query(1) == QSL_CBWR_OFF) return variant;
  return cnr;
}

Code variant_for(int type, const Variants& variants) {
  switch (type) {
    case QSL_CPU_SSE2:
      return reproducible_or(variants.p4, variants.cnr);
    case QSL_CPU_SSSE3:
      return reproducible_or(variants.p4m, variants.cnr);
    case QSL_CPU_SSE42:
      return variants.p4m3;
    case QSL_CPU_AVX:
      return variants.avx;
    case QSL_CPU_AVX2:
      return variants.avx2;
    case QSL_CPU_AVX512:
      return variants.avx512;
    default:
      return nullptr;
  }
}

}  // namespace

// Racing threads compute and store the same variant, so plain stores will do.
Code resolve_variant(Code volatile* slot, const Variants& variants) {
  qsl_trace_suppress_push();
  if (Code variant = variant_for(qsl_get_cpu_type(), variants)) {
    *slot = variant;
  } else {
    qsl_print_message(0, QSL_MSG_CPU_NOT_SUPPORTED, 1, qsl_get_cpu_type());
    qsl_fatal_exit(1);
  }
  qsl_trace_suppress_pop();
  return *slot;
}

}  // namespace qsl
