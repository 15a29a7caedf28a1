#include "tests/structured/variants.h"

#include "blas/level3/routines.h"

namespace structured_test {

const std::vector<Variant>& all_variants() {
#define QSL_TEST_VARIANT(level)                                                      \
  {                                                                                  \
    Level::level, #level, qsl::level::dtrsm, qsl::level::dtrmm, qsl::level::ztrsm,   \
        qsl::level::dsymm, qsl::level::dgemmt, qsl::level::dsyrk, qsl::level::dsyr2k \
  }
  static const std::vector<Variant> variants = {
      QSL_TEST_VARIANT(p4),  QSL_TEST_VARIANT(p4m),  QSL_TEST_VARIANT(p4m3),
      QSL_TEST_VARIANT(avx), QSL_TEST_VARIANT(avx2), QSL_TEST_VARIANT(avx512),
  };
#undef QSL_TEST_VARIANT
  return variants;
}

}  // namespace structured_test
