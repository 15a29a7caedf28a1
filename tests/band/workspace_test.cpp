// The conjugate transpose by rows, which takes a buffer for x.
#include <gtest/gtest.h>

#include "tests/band/problem.h"
#include "tests/frame/support.h"
#include "tests/memory/support.h"

namespace band_test {
namespace {

using frame_test::printed;
using memory_test::CountingBackEnd;

class BandWorkspace : public memory_test::Memory {};

TEST_F(BandWorkspace, WithoutMemoryYIsLeftAloneAndItIsSaid) {
  for (const int incy : {1, -2}) {
    CountingBackEnd counting;
    CountingBackEnd::fail_all();
    const Call call = {2, 12, 9, 2, 3, 0, 1, incy, true};
    Operands before(call), after(call);
    const std::string text =
        printed([&] { after.run(Exported(), call, general_factor(), other_factor()); });
    EXPECT_EQ(text,
              "\nArvex QSL INTERNAL ERROR: Insufficient workspace available in function "
              "cblas_zgbmv.\n");
    EXPECT_TRUE(after.y.same_bits(before.y));
    EXPECT_GT(CountingBackEnd::refused(), 0);
    CountingBackEnd::fail_none();
  }
}

// A vector of that length can't be there, and its buffer's size can't be counted.
TEST_F(BandWorkspace, ABufferBeyondTheAddressSpaceCantBeHad) {
  const Number one = {1, 0};
  Number y = {5, 6};
  const std::string text = printed([&] {
    cblas_zgbmv(CblasRowMajor, CblasConjTrans, INT_MAX, 1, 0, 0, &one, &one, 1, &one, 1, &one, &y,
                1);
  });
  EXPECT_NE(text.find("cblas_zgbmv"), std::string::npos) << text;
  EXPECT_EQ(y.imag, 6);
}

TEST_F(BandWorkspace, TheBufferIsGivenBack) {
  CountingBackEnd counting;
  const Call call = {2, 300, 280, 4, 3, 0, -1, 2, true};
  int made = 0;
  for (int turn = 0; turn < 3; turn++) {
    ASSERT_NO_FATAL_FAILURE(check(Exported(), call, general_factor(), other_factor()));
    ASSERT_TRUE(turn == 0 || CountingBackEnd::made() == made);
    made = CountingBackEnd::made();
  }
  EXPECT_GT(made, 0);
  QSL_Free_Buffers();
  EXPECT_EQ(CountingBackEnd::live(), 0);
}

TEST_F(BandWorkspace, TheOthersTakeNoMemory) {
  CountingBackEnd counting;
  CountingBackEnd::fail_all();
  for (const bool by_rows : {false, true}) {
    for (int trans = 0; trans < (by_rows ? 2 : 3); trans++) {
      const Call call = {trans, 300, 280, 4, 3, 0, -1, 2, by_rows};
      ASSERT_NO_FATAL_FAILURE(check(Exported(), call, general_factor(), other_factor()));
    }
  }
  EXPECT_EQ(CountingBackEnd::refused(), 0);
}

}  // namespace
}  // namespace band_test
