#include "tests/band/variants.h"

#include "blas/band/routines.h"

namespace band_test {

const std::vector<Variant>& all_variants() {
#define QSL_TEST_VARIANT(level) \
  { Level::level, #level, qsl::level::zgbmv }
  static const std::vector<Variant> variants = {
      QSL_TEST_VARIANT(p4),  QSL_TEST_VARIANT(p4m),  QSL_TEST_VARIANT(p4m3),
      QSL_TEST_VARIANT(avx), QSL_TEST_VARIANT(avx2), QSL_TEST_VARIANT(avx512),
  };
#undef QSL_TEST_VARIANT
  return variants;
}

}  // namespace band_test
