// Transposed copies. With a factor of one they move bits.
#include <gtest/gtest.h>

#include "tests/lapack/known_factors.h"
#include "tests/lapack/variants.h"

namespace lapack_test {
namespace {

class TransposedCopy : public VariantTest {};

// Any bits, among them signalling NaNs of both signs, denormals and infinities.
void set_any_bits(void* to, std::size_t doubles, unsigned seed) {
  Random random(seed);
  for (std::size_t i = 0; i < doubles; i++) {
    std::uint32_t words[2];
    for (std::uint32_t& word : words) {
      word = static_cast<std::uint32_t>(random.below(0x10000)) << 16 |
             static_cast<std::uint32_t>(random.below(0x10000));
    }
    const int kind = random.below(4);
    if (kind == 0) words[1] = (words[1] & 0x80007fff) | 0x7ff00000;  // NaN that signals
    if (kind == 1) words[1] &= 0x800fffff;                           // denormal
    if (kind == 2 && random.below(8) == 0) words[0] = 0, words[1] = 0xfff00000;
    std::memcpy(static_cast<char*>(to) + i * sizeof words, words, sizeof words);
  }
}

template <class Body>
void for_each_shape(const Body& body) {
  std::vector<int> sizes = {0,  1,  2,  3,  4,  5,  6,  7,  8,  9, 11,
                            12, 15, 16, 17, 18, 23, 31, 32, 33, 70};
  if (emulated()) sizes = {0, 1, 2, 3, 4, 5, 7, 8, 9, 16, 17, 33};
  unsigned index = 1;
  for (const int rows : sizes) {
    for (const int columns : sizes) {
      index++;
      body(rows, columns, index);
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

TEST_P(TransposedCopy, AFactorOfOneKeepsEveryBit) {
  for_each_kind([&](auto kind) {
    using Number = decltype(kind);
    for_each_shape([&](int rows, int columns, unsigned index) {
      Matrix<Number> a(rows, columns);
      set_any_bits(a.data(), static_cast<std::size_t>(rows * columns * parts<Number>), index);
      Stored<Number> from(a, {false, static_cast<int>(index % 3), index * 12 % 64});
      const Stored<Number> before(a, {false, static_cast<int>(index % 3), index * 12 % 64});
      Stored<Number> to(columns, rows, {false, static_cast<int>(index % 4), index * 20 % 64});
      const Number one = number<Number>(1);
      GetParam().kernels<Number>().omatcopy_t(rows, columns, &one, from.data(), from.ld(),
                                              to.data(), to.ld());
      ASSERT_TRUE(from.same_bytes(before) && to.intact()) << rows << " by " << columns;
      const Matrix<Number> found = to.elements();
      for (int j = 0; j < columns; j++) {
        for (int i = 0; i < rows; i++) {
          ASSERT_TRUE(same_bits(found(j, i), a(i, j)))
              << rows << " by " << columns << ": " << i << ", " << j;
        }
      }
    });
  });
}

TEST_P(TransposedCopy, OtherFactorsMultiply) {
  for_each_kind([&](auto kind) {
    using Number = decltype(kind);
    for_each_shape([&](int rows, int columns, unsigned index) {
      Random random(index);
      Matrix<Number> a(rows, columns);
      a.fill_with([&] { return small_integer<Number>(random, 9); });
      for (const Number alpha : {number<Number>(-1), number<Number>(0), number<Number>(2.5, 1.5),
                                 number<Number>(3, 0), number<Number>(0.5, -1)}) {
        Stored<Number> from(a, {false, static_cast<int>(index % 2), index * 12 % 64});
        Stored<Number> to(columns, rows, {false, static_cast<int>(index % 3), index * 20 % 64});
        GetParam().kernels<Number>().omatcopy_t(rows, columns, &alpha, from.data(), from.ld(),
                                                to.data(), to.ld());
        ASSERT_TRUE(to.intact());
        const Matrix<Number> found = to.elements();
        for (int j = 0; j < columns; j++) {
          for (int i = 0; i < rows; i++) {
            const auto difference = wide(found(j, i)) - wide(alpha) * wide(a(i, j));
            ASSERT_EQ(size(difference), 0) << rows << " by " << columns << ": " << i << ", " << j;
          }
        }
      }
    });
  });
}

INSTANTIATE_TEST_SUITE_P(Levels, TransposedCopy, testing::ValuesIn(all_variants()), name_of);

}  // namespace
}  // namespace lapack_test
