// Every variant that this processor supports, called directly: a small share of what the exports'
// tests do, for builds in which the library's own code is instrumented.
#include "tests/level3/variants.h"

namespace level3_test {
namespace {

class GemmKernels : public VariantTest {
 protected:
  template <class Number>
  void run(const Shape& shape, int calls, Data data, unsigned* index) const {
    Problem<Number> problem(shape, data);
    for (int i = 0; i < calls; i++) {
      const Call call = rotated_for_variant<Number>((*index)++, data);
      ASSERT_NO_FATAL_FAILURE(
          check(problem, call, Check::every_element, Direct<Number>{GetParam()}));
    }
  }
};

TEST_P(GemmKernels, SmallShapes) {
  for_each_kind([&](auto number) {
    unsigned index = 0;
    // A third of them all; emulated ones are farther apart.
    const int step = emulated() ? 67 : 3;
    for (int at = 0; at < 17 * 17 * 17; at += step) {
      const Shape shape = {1 + at % 17, 1 + at / 17 % 17, at / 289};
      ASSERT_NO_FATAL_FAILURE(run<decltype(number)>(shape, 1, Data::general, &index));
    }
    for (int size = 17; size < 34; size += emulated() ? 5 : 1) {
      for (const Shape& shape : {Shape{size, 51 - size, 9}, {7, size, size}, {size, 3, 40}}) {
        ASSERT_NO_FATAL_FAILURE(run<decltype(number)>(shape, 2, Data::general, &index));
      }
    }
  });
}

TEST_P(GemmKernels, Blocks) {
  std::vector<Shape> shapes = {{101, 3, 12}, {101, 1, 12}, {1, 101, 12}, {30, 25, 260}};
  if (emulated()) {
    shapes.push_back({193, 193, 7});
  } else {
    shapes.insert(shapes.end(), {{73, 75, 129},
                                 {75, 57, 260},
                                 {74, 195, 385},
                                 {250, 81, 102},
                                 {249, 81, 102},
                                 {60, 70, 110},
                                 {21, 603, 9},
                                 {385, 9, 110},
                                 {193, 194, 50}});
  }
  for_each_kind([&](auto number) {
    unsigned index = 0;
    for (const Shape& shape : shapes) {
      ASSERT_NO_FATAL_FAILURE(
          run<decltype(number)>(shape, emulated() ? 2 : 9, Data::integers, &index));
      if (emulated()) index += 3;
    }
  });
}

TEST_P(GemmKernels, EveryFactor) {
  for_each_kind([&](auto number) {
    using Number = decltype(number);
    unsigned index = 0;
    for (const Shape& shape : {Shape{9, 7, 9}, {13, 25, 19}, {101, 2, 11}, {5, 3, 0}}) {
      Problem<Number> problem(shape, Data::integers);
      for (const Value alpha : factors<Number>()) {
        for (const Value beta : factors<Number>()) {
          Call call = rotated_for_variant<Number>(index++, Data::integers);
          call.alpha = alpha;
          call.beta = beta;
          ASSERT_NO_FATAL_FAILURE(
              check(problem, call, Check::every_element, Direct<Number>{GetParam()}));
        }
      }
    }
  });
}

INSTANTIATE_TEST_SUITE_P(Levels, GemmKernels, testing::ValuesIn(all_variants()), name_of);

}  // namespace
}  // namespace level3_test
