// The processor type: the instruction-set level that the library runs at.
#pragma once

// The processor types. 3, 8 and 10 have no kernels: 3 passes the type decision and is refused by
// every dispatcher; 8 and 10 are refused at the decision.
enum {
  QSL_CPU_SSE2 = 2,
  QSL_CPU_RESERVED3 = 3,
  QSL_CPU_SSSE3 = 4,
  QSL_CPU_SSE42 = 5,
  QSL_CPU_AVX = 6,
  QSL_CPU_AVX2 = 7,
  QSL_CPU_AVX512_MIC = 8,
  QSL_CPU_AVX512 = 9,
  QSL_CPU_AVX512_MIC_E1 = 10,
};

extern "C" {

// The stored type, decided on first use under the init lock. Ends the process when the processor
// (or the override) is not served.
int qsl_get_cpu_type();

// The raw type from the processor and the permission flags. Below the minimum: prints why, sets
// *error to 1 and returns -1.
int qsl_detect_cpu_type(int* error);

// With `detect`: qsl_detect_cpu_type, ending the process on its error. Without: the stored type as
// it stands, negative when it is not decided yet.
int qsl_cpu_type_query(int detect);

// 1 when the processor is of the preferred line (always, in a build that prefers any vendor).
int qsl_cpu_is_genuine();
// The same under reproducibility: with a fixed branch 1, but 0 for COMPATIBLE.
int qsl_cpu_is_genuine_cbwr();
int qsl_cpu_has_sse41();
// The same under reproducibility: a fixed branch answers for the branch, not for the processor.
int qsl_cpu_has_sse41_cbwr();
int qsl_cpu_has_fma4();
int qsl_cpu_is_mic_e1();

// Permission flags after QSL_ENABLE_INSTRUCTIONS was read and applied.
int qsl_enable_sse42_get();
int qsl_enable_avx_get();
int qsl_enable_avx2_get();
int qsl_enable_avx512_get();

extern int qsl_cpu_type_cached;  // folded; negative while undecided
extern const char* const qsl_cpu_type_module[10];
}

namespace qsl {

// The type for display: as qsl_get_cpu_type, but -1 where that would refuse the type.
int cpu_type_or_undecided();

}  // namespace qsl
