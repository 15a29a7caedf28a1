// The numbers of the selectors and their option strings.
#include "blas/selectors.h"

#include <gtest/gtest.h>

TEST(Selectors, HaveTheNumbersOfTheCInterface) {
  EXPECT_EQ(CblasRowMajor, 101);
  EXPECT_EQ(CblasColMajor, 102);
  EXPECT_EQ(CblasNoTrans, 111);
  EXPECT_EQ(CblasTrans, 112);
  EXPECT_EQ(CblasConjTrans, 113);
}

TEST(Selectors, NameOptionStrings) {
  EXPECT_STREQ(qsl_cblas_trans_char[111], "N");
  EXPECT_STREQ(qsl_cblas_trans_char[112], "T");
  EXPECT_STREQ(qsl_cblas_trans_char[113], "C");
  for (int selector = 0; selector < 111; ++selector) {
    EXPECT_EQ(qsl_cblas_trans_char[selector], nullptr) << selector;
  }
}
