#include "tests/level2/variants.h"

#include "blas/level2/routines.h"

namespace level2_test {

const std::vector<Variant>& all_variants() {
#define QSL_TEST_VARIANT(level)                                                    \
  {                                                                                \
    Level::level, #level, qsl::level::dgemv, qsl::level::zgemv, qsl::level::cgemv, \
        qsl::level::dger, qsl::level::zgeru, qsl::level::cgeru                     \
  }
  static const std::vector<Variant> variants = {
      QSL_TEST_VARIANT(p4),  QSL_TEST_VARIANT(p4m),  QSL_TEST_VARIANT(p4m3),
      QSL_TEST_VARIANT(avx), QSL_TEST_VARIANT(avx2), QSL_TEST_VARIANT(avx512),
  };
#undef QSL_TEST_VARIANT
  return variants;
}

}  // namespace level2_test
