#include "tests/level3/variants.h"

#include "blas/level3/routines.h"

namespace level3_test {

const std::vector<Variant>& all_variants() {
#define QSL_TEST_VARIANT(level, name, mode) \
  { Level::level, name, mode, qsl::level::dgemm, qsl::level::cgemm, qsl::level::zgemm }
  static const std::vector<Variant> variants = {
      QSL_TEST_VARIANT(p4, "p4", 0),
      QSL_TEST_VARIANT(p4m, "p4m_without_sse41", QSL_CBWR_SSSE3),
      QSL_TEST_VARIANT(p4m, "p4m_with_sse41", QSL_CBWR_SSE4_1),
      QSL_TEST_VARIANT(p4m3, "p4m3", 0),
      QSL_TEST_VARIANT(avx, "avx", 0),
      QSL_TEST_VARIANT(avx2, "avx2", 0),
      QSL_TEST_VARIANT(avx512, "avx512", 0),
  };
#undef QSL_TEST_VARIANT
  return variants;
}

}  // namespace level3_test
