#include "tests/level1/variants.h"

#include "blas/level1/routines.h"
#include "blas/level1/zaxpy_bodies.h"
#include "tests/listed.h"

namespace level1_test {
namespace {

bool processor_supports(Level level) {
  __builtin_cpu_init();
  switch (level) {
    case Level::p4:
    case Level::cnr:
      return __builtin_cpu_supports("sse2");
    case Level::p4m:
      // One of its bodies is for processors with SSE4.1; the tests call both.
      return __builtin_cpu_supports("ssse3") && __builtin_cpu_supports("sse4.1");
    case Level::p4m3:
      return __builtin_cpu_supports("sse4.2");
    case Level::avx:
      return __builtin_cpu_supports("avx");
    case Level::avx2:
      return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") &&
             __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2");
    case Level::avx512:
      return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
             __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl");
  }
  return false;
}

}  // namespace

const std::vector<Variant>& all_variants() {
#define QSL_TEST_VARIANT(level, ...)                                              \
  {                                                                               \
    Level::level, #level, qsl::level::ddot, qsl::level::daxpy, qsl::level::dcopy, \
        qsl::level::zcopy, {                                                      \
      __VA_ARGS__                                                                 \
    }                                                                             \
  }
  static const std::vector<Variant> variants = {
      QSL_TEST_VARIANT(p4, qsl::p4::zaxpy),
      QSL_TEST_VARIANT(p4m, qsl::p4m::zaxpy_ssse3, qsl::p4m::zaxpy_sse41),
      QSL_TEST_VARIANT(p4m3, qsl::p4m3::zaxpy),
      QSL_TEST_VARIANT(avx, qsl::avx::zaxpy),
      QSL_TEST_VARIANT(avx2, qsl::avx2::zaxpy),
      QSL_TEST_VARIANT(avx512, qsl::avx512::zaxpy),
      // The other routines' reproducible bodies are those of p4.
      {Level::cnr,
       "cnr",
       qsl::cnr::ddot,
       qsl::p4::daxpy,
       qsl::p4::dcopy,
       qsl::p4::zcopy,
       {qsl::cnr::zaxpy}},
  };
#undef QSL_TEST_VARIANT
  return variants;
}

const char* left_out(Level level) {
  if (!processor_supports(level)) return "not supported by this processor";
  for (const Variant& variant : all_variants()) {
    if (variant.level == level && level_is_listed(variant.name)) return nullptr;
  }
  return "not among QSL_TEST_LEVELS";
}

}  // namespace level1_test
