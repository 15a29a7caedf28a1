#include "tests/lapack/variants.h"

#include "blas/level2/routines.h"
#include "lapack/routines.h"

namespace lapack_test {

const std::vector<Variant>& all_variants() {
#define QSL_TEST_KERNELS(level, letter)                                                            \
  {                                                                                                \
    qsl::level::letter##getrf_leaf, qsl::level::letter##trsv, qsl::level::letter##getrf_small,     \
        qsl::level::letter##getrs_small, qsl::level::letter##laswp, qsl::level::letter##omatcopy_t \
  }
#define QSL_TEST_VARIANT(level)                                                   \
  {                                                                               \
    Level::level, #level, QSL_TEST_KERNELS(level, d), QSL_TEST_KERNELS(level, z), \
        qsl::level::nan_in_runs, qsl::level::nan_in_band                          \
  }
  static const std::vector<Variant> variants = {
      QSL_TEST_VARIANT(p4),  QSL_TEST_VARIANT(p4m),  QSL_TEST_VARIANT(p4m3),
      QSL_TEST_VARIANT(avx), QSL_TEST_VARIANT(avx2), QSL_TEST_VARIANT(avx512),
  };
#undef QSL_TEST_VARIANT
#undef QSL_TEST_KERNELS
  return variants;
}

}  // namespace lapack_test
