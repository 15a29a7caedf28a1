// The blocks that a product is cut in: in k by the bits of sums, in m and n by the buffer.
#include <algorithm>

#include "tests/level3/variants.h"
#include "tests/memory/support.h"

namespace level3_test {
namespace {

using memory_test::CountingBackEnd;

class GemmBlocks : public VariantTest {
 protected:
  void SetUp() override {
    memory_test::Memory::reset();
    VariantTest::SetUp();
  }
  void TearDown() override {
    VariantTest::TearDown();
    memory_test::Memory::reset();
  }
};

// Where a block of k ends and the next begins. Row i of A has 1, a number so large that 1 is lost
// beside it, 0, and the large number's opposite, from column i on: their sum is 0, unless the 1 is
// the last of a block. (An end among the last three columns does not show.)
std::vector<int> ends_of_blocks(Gemm<double>* gemm, int m, int n, int k) {
  const double large = 0x1p60, one = 1, zero = 0;
  const auto rows = static_cast<std::size_t>(m);
  std::vector<double> a(rows * static_cast<std::size_t>(k)),
      b(static_cast<std::size_t>(k) * n, 1.0);
  std::vector<double> c(rows * static_cast<std::size_t>(n));
  for (int i = 0; i < std::min(m, k - 3); i++) {
    const auto at = [&](int column) -> double& {
      return a[static_cast<std::size_t>(column) * rows + static_cast<std::size_t>(i)];
    };
    at(i) = 1;
    at(i + 1) = large;
    at(i + 3) = -large;
  }
  gemm(0, 0, m, n, k, &one, a.data(), m, b.data(), k, &zero, c.data(), m);
  std::vector<int> ends;
  for (int i = 0; i < m; i++) {
    const double first = c[static_cast<std::size_t>(i)];
    for (int j = 0; j < n; j++) EXPECT_EQ(c[static_cast<std::size_t>(j) * rows + i], first);
    if (first == 1) ends.push_back(i + 1);
  }
  return ends;
}

struct Depth {
  int k;
  std::vector<int> ends;
};

std::vector<Depth> depths_of(Level level) {
  switch (level) {
    case Level::p4:
    case Level::cnr:
      return {{104, {}}, {110, {104}}, {300, {104, 208}}, {320, {104, 208, 312}}};
    case Level::p4m:
    case Level::p4m3:
      return {{126, {}}, {130, {126}}, {300, {126, 252}}};
    case Level::avx:
      return {{106, {}}, {110, {106}}, {300, {106, 212}}};
    case Level::avx2:
      return {{130, {}},    {256, {}},    {257, {130}},      {258, {130}},          {300, {150}},
              {383, {192}}, {384, {192}}, {400, {192, 384}}, {580, {192, 384, 576}}};
    case Level::avx512:
      return {{384, {}}, {385, {194}}, {500, {250}}, {767, {384}}, {768, {384}}, {780, {384, 768}}};
  }
  return {};
}

TEST_P(GemmBlocks, EndInKWhereTheLevelSays) {
  const Level level = GetParam().level;
  for (const auto& [k, ends] : depths_of(level)) {
    if (emulated() && k > 400) continue;
    const int least = level == Level::avx512 ? 192 : 80;
    EXPECT_EQ(ends_of_blocks(GetParam().dgemm, std::max(k, least), least, k), ends) << "k " << k;
  }
}

// What the two packed operands take, each from a page of its own on.
struct Blocks {
  Shape shape;
  std::size_t mc, nc, kc;

  std::size_t bytes() const {
    const std::size_t page = 4096, a = 0x680 + mc * kc * 8;
    return page + (a + page - 1) / page * page + 0x300 + nc * kc * 8;
  }
};

std::vector<Blocks> blocks_of(const Variant& variant) {
  switch (variant.level) {
    case Level::p4:
    case Level::cnr:
      return {};
    case Level::p4m:
    case Level::p4m3:
      if (variant.mode == QSL_CBWR_SSSE3) {
        return {{{9, 5, 9}, 10, 8, 126}, {{9, 9, 9}, 10, 16, 126}, {{400, 50, 300}, 320, 16, 126}};
      }
      return {{{9, 5, 9}, 10, 8, 126}, {{9, 9, 9}, 10, 12, 126}, {{400, 50, 300}, 320, 16, 126}};
    case Level::avx:
      return {{{9, 5, 9}, 12, 8, 106}, {{400, 50, 300}, 384, 24, 106}};
    case Level::avx2:
      return {{{80, 81, 20}, 84, 24, 128},    {{80, 300, 47}, 84, 24, 128},
              {{80, 81, 48}, 84, 82, 128},    {{80, 300, 131}, 84, 192, 132},
              {{80, 300, 256}, 84, 192, 256}, {{80, 81, 300}, 84, 82, 150},
              {{80, 81, 383}, 84, 82, 192},   {{80, 81, 384}, 84, 82, 192},
              {{5100, 81, 20}, 5004, 24, 128}};
    case Level::avx512:
      return {{{201, 200, 20}, 208, 24, 128},   {{201, 193, 48}, 208, 192, 128},
              {{201, 192, 384}, 208, 192, 384}, {{201, 192, 385}, 208, 192, 194},
              {{201, 192, 767}, 208, 192, 384}, {{201, 192, 768}, 208, 192, 384},
              {{5100, 192, 20}, 4992, 24, 128}};
  }
  return {};
}

// Bytes of the buffer of a product.
std::size_t buffer_of(const Variant& variant, const Shape& shape) {
  const CountingBackEnd counting;
  const auto [m, n, k] = shape;
  const std::vector<double> a(static_cast<std::size_t>(m) * k, 1.0),
      b(static_cast<std::size_t>(k) * n, 1.0);
  std::vector<double> c(static_cast<std::size_t>(m) * n);
  const double one = 1, zero = 0;
  variant.dgemm(0, 0, m, n, k, &one, a.data(), m, b.data(), k, &zero, c.data(), m);
  EXPECT_GT(CountingBackEnd::made(), 0) << shape << " takes no buffer";
  const std::size_t size = CountingBackEnd::last_size();
  // What the memory manager adds to every block.
  QSL_Free_Buffers();
  qsl_mm_deallocate(qsl_mm_allocate(1000, 128));
  return size - (CountingBackEnd::last_size() - 1000);
}

TEST_P(GemmBlocks, HaveABufferOfTheirSize) {
  for (const Blocks& blocks : blocks_of(GetParam())) {
    if (emulated() && blocks.shape.m * blocks.shape.k > 60000) continue;
    EXPECT_EQ(buffer_of(GetParam(), blocks.shape), blocks.bytes()) << blocks.shape;
  }
}

// Level p4: one size for all orders of the loops but the long form, which adds all of packed B,
// columns in fours and each value twice.
TEST_P(GemmBlocks, OfTheLadderHaveOneBufferOrTheLongOne) {
  if (GetParam().level != Level::p4) GTEST_SKIP() << "a level without the ladder";
  for (const Shape& shape : {Shape{4, 8, 8},
                             {400, 100, 300},
                             {250, 60, 110},
                             {249, 60, 100},
                             {249, 80, 101},
                             {249, 101, 101},
                             {60, 601, 20},
                             {600, 701, 20}}) {
    EXPECT_EQ(buffer_of(GetParam(), shape), 0x37f00u) << shape;
  }
  for (const Shape& shape : {Shape{4, 8, 101}, {60, 61, 101}, {249, 79, 101}, {249, 79, 300}}) {
    const auto columns = static_cast<std::size_t>((shape.n + 3) / 4 * 4);
    EXPECT_EQ(buffer_of(GetParam(), shape), 0x37f00u + columns * 104 * 2 * sizeof(double)) << shape;
  }
}

INSTANTIATE_TEST_SUITE_P(Levels, GemmBlocks, testing::ValuesIn(all_variants()), name_of);

}  // namespace
}  // namespace level3_test
