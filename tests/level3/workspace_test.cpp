// Products when work buffers are refused, and what is left of those that were had.
#include "tests/level3/variants.h"
#include "tests/memory/support.h"

namespace level3_test {
namespace {

using frame_test::printed;
using memory_test::CountingBackEnd;

// Shapes that take a buffer, some of them cut in k, some in m or n. Level avx512 does without one
// up to larger sizes.
std::vector<Shape> blocked_shapes(Level level) {
  if (emulated()) return {{101, 9, 12}, {193, 192, 9}};
  if (level == Level::avx512) return {{101, 12, 12}, {193, 200, 390}, {192, 605, 20}};
  return {{101, 12, 12}, {75, 80, 300}, {73, 100, 20}, {80, 605, 20}};
}

template <class Number>
std::string message() {
  const std::string name = is_real<Number>                         ? "DGEMM"
                           : std::is_same_v<Number, complex_float> ? "CGEMM"
                                                                   : "ZGEMM";
  return "\nArvex QSL INTERNAL ERROR: Not enough work memory in function " + name + "\n";
}

// A variant with its output kept.
template <class Number>
struct Recorded {
  const Variant& variant;
  std::string* text;

  template <class... Arguments>
  void operator()(const Arguments&... arguments) const {
    *text += printed([&] { Direct<Number>{variant}(arguments...); });
  }
};

class GemmWorkspace : public VariantTest {
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

TEST_P(GemmWorkspace, WithoutMemoryTheProductIsRightAndSaysSo) {
  for_each_kind([&](auto number) {
    using Number = decltype(number);
    CountingBackEnd counting;
    unsigned index = 0;
    for (const Shape& shape : blocked_shapes(GetParam().level)) {
      Problem<Number> integers(shape, Data::integers), general(shape);
      for (int turn = 0; turn < (emulated() ? 2 : instrumented ? 4 : 9); turn++) {
        for (const Value beta : {Value{0, 0}, Value{1, 0}, factors<Number>()[0]}) {
          CountingBackEnd::fail_all();
          Call call = rotated_for_variant<Number>(index++, Data::integers);
          call.alpha = factors<Number>()[index % 2];
          call.beta = beta;
          std::string text;
          const int refused = CountingBackEnd::refused();
          ASSERT_NO_FATAL_FAILURE(
              check(integers, call, Check::every_element, Recorded<Number>{GetParam(), &text}));
          const int now_refused = CountingBackEnd::refused() - refused;
          ASSERT_GT(now_refused, 0) << shape << ", " << call << " takes no buffer";
          ASSERT_NE(text, "") << shape << ", " << call;
          ASSERT_EQ(text, message<Number>()) << shape << ", " << call;
          if (turn == 0) {
            ASSERT_NO_FATAL_FAILURE(
                check(general, call, Check::some_elements, Recorded<Number>{GetParam(), &text}));
          }
          CountingBackEnd::fail_none();
        }
      }
      // With memory again.
      std::string text;
      const Call call = rotated_for_variant<Number>(9 * index, Data::integers);
      ASSERT_NO_FATAL_FAILURE(
          check(integers, call, Check::every_element, Recorded<Number>{GetParam(), &text}));
      ASSERT_EQ(text, "") << shape << ", " << call;
      QSL_Free_Buffers();
      ASSERT_EQ(CountingBackEnd::live(), 0) << shape << ", " << call;
    }
  });
}

// One request of a call fails, whichever: the product is right and nothing is lost.
TEST_P(GemmWorkspace, EveryRequestFailsOnce) {
  for_each_kind([&](auto number) {
    using Number = decltype(number);
    const Shape shape = emulated() ? Shape{101, 9, 12} : Shape{75, 605, 140};
    Problem<Number> problem(shape, Data::integers);
    Call call = rotated_for_variant<Number>(3, Data::integers);
    call.alpha = call.beta = factors<Number>()[0];
    for (int fail_at = 0; fail_at < 20; fail_at++) {
      CountingBackEnd counting;
      CountingBackEnd::fail(fail_at);
      std::string text;
      ASSERT_NO_FATAL_FAILURE(
          check(problem, call, Check::every_element, Recorded<Number>{GetParam(), &text}));
      CountingBackEnd::fail_none();
      QSL_Free_Buffers();
      ASSERT_EQ(CountingBackEnd::live(), 0) << fail_at;
      if (CountingBackEnd::refused() == 0) {
        ASSERT_EQ(text, "");
        return;
      }
    }
    FAIL() << "the product never ran without a failure";
  });
}

// The buffer of one call serves the next.
TEST_P(GemmWorkspace, BuffersAreKeptAndFreed) {
  for_each_kind([&](auto number) {
    using Number = decltype(number);
    CountingBackEnd counting;
    const Shape shape = emulated() ? Shape{101, 9, 12} : Shape{193, 200, 130};
    Problem<Number> problem(shape, Data::integers);
    int made = 0;
    for (int turn = 0; turn < 3; turn++) {
      Call call = rotated_for_variant<Number>(1, Data::integers);
      call.alpha = factors<Number>()[0];
      ASSERT_NO_FATAL_FAILURE(
          check(problem, call, Check::every_element, Direct<Number>{GetParam()}));
      ASSERT_TRUE(turn == 0 || CountingBackEnd::made() == made);
      made = CountingBackEnd::made();
    }
    ASSERT_GT(made, 0);
    QSL_Free_Buffers();
    ASSERT_EQ(CountingBackEnd::live(), 0);
  });
}

INSTANTIATE_TEST_SUITE_P(Levels, GemmWorkspace, testing::ValuesIn(all_variants()), name_of);

// The copy of a strided column before a rank-one update: made from 65 rows on, done without when
// there is no memory, and never spoken of.
class ColumnCopy : public memory_test::Memory {};

TEST_F(ColumnCopy, LongColumnsAreCopiedIfThereIsMemory) {
  for_each_kind([](auto number) {
    using Number = decltype(number);
    for (const int m : {2, 64, 65, 300}) {
      const Shape shape = {m, 3, 1};
      Problem<Number> problem(shape, Data::integers);
      for (int transa = 0; transa < 2; transa++) {
        for (const bool memory : {true, false}) {
          CountingBackEnd counting;
          if (!memory) CountingBackEnd::fail_all();
          Call call;
          call.transa = transa;
          call.pad_a = 2;
          call.alpha = call.beta = factors<Number>()[0];
          std::string text;
          ASSERT_NO_FATAL_FAILURE(
              check(problem, call, Check::every_element, [&](const auto&... arguments) {
                text += printed([&] { Exported<Number>()(arguments...); });
              }));
          ASSERT_EQ(text, "");
          const bool asked = CountingBackEnd::made() + CountingBackEnd::refused() > 0;
          ASSERT_EQ(asked, transa == 1 && m > 64) << m;
          CountingBackEnd::fail_none();
          QSL_Free_Buffers();
          ASSERT_EQ(CountingBackEnd::live(), 0);
        }
      }
    }
  });
}

}  // namespace
}  // namespace level3_test
