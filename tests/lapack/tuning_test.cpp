// The block sizes at the borders of every row of their tables.
#include "lapack/tuning.h"

#include "tests/frame/support.h"
#include "tests/lapack/recursion.h"

namespace lapack_test {
namespace {

class Tuning : public frame_test::Frame {
 protected:
  static void become(int type) {
    reset();
    override_type(type);
    ASSERT_EQ(qsl_get_cpu_type(), type);
  }
  static int asked(const char* name, int m, int n) {
    return qsl_tuned_ilaenv(1, name, "S", m, n, -1, -1, 6, 1);
  }
};

TEST_F(Tuning, EveryRowAtItsBorders) {
  for (const int type : {2, 4, 5, 6, 7, 9}) {
    ASSERT_NO_FATAL_FAILURE(become(type));
    long long first = 0;
    for (const BlockSize& row : block_sizes(type)) {
      for (const long long n : {first, first + 1, (first + row.columns) / 2, row.columns - 1LL,
                                static_cast<long long>(row.columns)}) {
        const int columns = static_cast<int>(n);
        for (const int m : {11, 20, 5000, kAnySize}) {
          EXPECT_EQ(asked("DGETRF", m, columns), row.real) << "type " << type << ", " << columns;
          EXPECT_EQ(asked("SGETRF", m, columns), row.real) << "type " << type << ", " << columns;
          EXPECT_EQ(asked("ZGETRF", m, columns), row.complex) << "type " << type << ", " << columns;
          EXPECT_EQ(asked("CGETRF", m, columns), row.complex) << "type " << type << ", " << columns;
        }
      }
      first = row.columns + 1LL;
    }
  }
}

TEST_F(Tuning, SmallProblemsAreNotCut) {
  for (const int type : {2, 4, 5, 6, 7, 9}) {
    ASSERT_NO_FATAL_FAILURE(become(type));
    for (int m = 0; m <= 20; m++) {
      for (int n = 0; n <= 20; n++) {
        EXPECT_EQ(asked("DGETRF", m, n), block_size(type, m, n)) << type << ": " << m << ", " << n;
      }
    }
    EXPECT_EQ(asked("DGETRF", 10, 10), 1);
    EXPECT_EQ(asked("DGETRF", 11, 5), type > 7 ? 48 : type == 7 ? 24 : 1);
    EXPECT_EQ(asked("DGETRF", 20, 5), type > 7 ? 48 : type == 7 ? 24 : 1);
    EXPECT_EQ(asked("DGETRF", 5, 20), type > 7 ? 48 : type == 7 ? 24 : 8);
  }
}

}  // namespace
}  // namespace lapack_test
