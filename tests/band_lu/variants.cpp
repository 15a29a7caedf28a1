#include "tests/band_lu/variants.h"

#include "lapack/band/blocking.h"
#include "lapack/band/routines.h"

namespace band_lu_test {

const std::vector<Variant>& all_variants() {
#define QSL_TEST_VARIANT(level) \
  { Level::level, #level, qsl::level::zgbtrf, qsl::level::zgbtrs }
  static const std::vector<Variant> variants = {
      QSL_TEST_VARIANT(p4),  QSL_TEST_VARIANT(p4m),  QSL_TEST_VARIANT(p4m3),
      QSL_TEST_VARIANT(avx), QSL_TEST_VARIANT(avx2), QSL_TEST_VARIANT(avx512),
  };
#undef QSL_TEST_VARIANT
  return variants;
}

int Direct::operator()(int n, int kl, int ku, int nrhs, Number* ab, int ldab, int* ipiv, Number* b,
                       int ldb) const {
  const auto elements = static_cast<std::size_t>(qsl::lapack::gbtrf_work_elements(n, kl, ku));
  // The work area holds no zeros.
  level2_test::Elements<Number> work(elements, 0);
  const int info =
      variant.zgbtrf(n, kl, ku, ab, ldab, ipiv, blocks && elements > 0 ? work.data() : nullptr);
  EXPECT_TRUE(work.intact());
  if (info == 0) variant.zgbtrs(n, kl, ku, nrhs, ab, ldab, ipiv, b, ldb);
  return info;
}

}  // namespace band_lu_test
