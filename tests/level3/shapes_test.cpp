// Products of every small shape, and of shapes on both sides of every size at which a level changes
// its way.
#include <utility>

#include "tests/level3/problem.h"

namespace level3_test {
namespace {

constexpr int tails = 34;  // sizes up to 33

// One shape of so many is taken.
unsigned thinned() { return emulated() ? 61 : instrumented ? 7 : 1; }

// Calls of every shape, each with the next of the rotating transposes, styles and factors.
template <class Number>
class Sweep {
 public:
  explicit Sweep(Data data = Data::general) : data_(data) {}

  void add(const Shape& shape, int calls, Check how = Check::every_element) {
    if (shapes_++ % thinned_ != 0) return;
    run(shape, calls, how);
  }
  void run(const Shape& shape, int calls, Check how = Check::every_element) {
    Problem<Number> problem(shape, data_);
    for (int i = 0; i < calls; i++) {
      ASSERT_NO_FATAL_FAILURE(check(problem, rotated<Number>(call_++, data_), how));
    }
  }

 private:
  Data data_;
  const unsigned thinned_ = thinned();
  unsigned shapes_ = 0;
  unsigned call_ = 0;
};

TEST(Shapes, EverySmallOne) {
  for_each_kind([](auto number) {
    Sweep<decltype(number)> sweep;
    for (int m = 0; m < tails; m++) {
      for (int n = 0; n < tails; n++) {
        for (int k = 0; k < tails; k++) {
          const int calls = m < 10 && n < 10 && k < 10 ? 9 : 1;
          ASSERT_NO_FATAL_FAILURE(sweep.add({m, n, k}, calls));
        }
      }
    }
  });
}

// One size large, the others small: every size at which a path, a block or a ladder step begins or
// ends, and its neighbours.
TEST(Shapes, OneLargeSize) {
  const std::vector<Shape> others = {{2, 3, 0}, {5, 9, 0}, {12, 7, 0}, {33, 17, 0}};
  const int sizes[] = {40,  41,  48,  56,  72,  80,  100, 101, 104, 126, 128, 192, 193, 200, 208,
                       240, 250, 256, 257, 300, 312, 320, 383, 384, 385, 600, 601, 767, 768};
  for_each_kind([&](auto number) {
    Sweep<decltype(number)> sweep;
    for (const int middle : sizes) {
      for (int size = middle - 1; size <= middle + 1; size++) {
        for (const auto [p, q, none] : others) {
          ASSERT_NO_FATAL_FAILURE(sweep.add({size, p, q}, 1, Check::some_elements));
          ASSERT_NO_FATAL_FAILURE(sweep.add({q, size, p}, 1, Check::some_elements));
          ASSERT_NO_FATAL_FAILURE(sweep.add({p, q, size}, 1, Check::some_elements));
        }
      }
    }
  });
}

// Two or three large sizes: all elements of products of integers, some of others.
template <class Number>
void check_blocks(const std::vector<Shape>& shapes) {
  Sweep<Number> integers(Data::integers), general;
  for (const Shape& shape : shapes) {
    const long long work = 1LL * shape.m * shape.n * shape.k * (instrumented ? 50 : 1);
    if (instrumented && work > 200000000) continue;
    // Nine calls have every pair of transposes; three every one of the second operand.
    const int calls = emulated() ? 1 : work < 3000000 ? 9 : work < 30000000 ? 3 : 1;
    ASSERT_NO_FATAL_FAILURE(integers.run(shape, calls));
    if (emulated()) continue;
    ASSERT_NO_FATAL_FAILURE(general.run(shape, calls < 4 ? 1 : 2, Check::some_elements));
  }
}

// The sizes from which on the blocked path is taken, with k on both sides of its own limits.
TEST(Shapes, AroundTheSmallPath) {
  std::vector<Shape> shapes;
  if (emulated()) {
    shapes = {{192, 192, 7}, {191, 193, 9}, {101, 11, 5}, {101, 10, 11}, {101, 1, 11}, {41, 41, 7}};
  } else {
    for (const int limit : {56, 72, 192}) {
      for (const int k : {2, 6, 7, 20, 128, 129}) {
        for (const auto& [m, n] : {std::pair{0, 0}, {-1, 0}, {0, -1}, {1, 3}, {7, 2}}) {
          shapes.push_back({limit + m, limit + n, k});
        }
      }
    }
    for (const int k : {2, 5, 6, 7, 10, 11, 40}) {
      for (const auto& [m, n] : {std::pair{40, 40},
                                 {41, 40},
                                 {40, 41},
                                 {41, 41},
                                 {22, 22},
                                 {22, 21},
                                 {100, 11},
                                 {101, 11},
                                 {101, 10},
                                 {101, 1},
                                 {101, 2},
                                 {1, 101},
                                 {7, 101},
                                 {8, 101}}) {
        shapes.push_back({m, n, k});
      }
    }
  }
  for_each_kind([&](auto number) { check_blocks<decltype(number)>(shapes); });
}

// Each block is cut in m, n and k, and the last one is a whole one, a full tile or less.
TEST(Shapes, AroundEveryBlock) {
  std::vector<Shape> shapes;
  if (emulated()) {
    shapes = {{24, 30, 300}, {30, 24, 257}, {192, 193, 385}, {4993, 3, 12}};
  } else {
    for (const int k : {103, 104, 105, 106, 107, 126, 127, 128, 130, 200, 208, 209, 213,
                        255, 256, 257, 258, 300, 312, 313, 318, 383, 384, 385, 391, 577}) {
      shapes.push_back({73, 75, k});
    }
    for (const int k : {384, 385, 386, 500, 767, 768, 769, 1153}) shapes.push_back({193, 195, k});
    for (const int n : {24, 25, 48, 79, 80, 95, 96, 97, 100, 101, 191, 192, 193, 383, 385}) {
      shapes.push_back({74, n, 20});
      shapes.push_back({74, n, 49});
      shapes.push_back({194, n, 110});
    }
    for (const int m : {119, 120, 121, 159, 160, 161, 192, 193, 239, 240, 241, 320, 321, 383, 384,
                        385, 481, 650}) {
      shapes.push_back({m, 9, 11});
      shapes.push_back({m, 33, 130});
    }
    shapes.insert(shapes.end(), {{4991, 3, 12},
                                 {4992, 3, 12},
                                 {4993, 3, 12},
                                 {4999, 2, 11},
                                 {5000, 3, 12},
                                 {5001, 3, 12},
                                 {5001, 73, 258}});
  }
  for_each_kind([&](auto number) { check_blocks<decltype(number)>(shapes); });
}

// The steps of the ladder of levels without SSSE3, and cubes.
TEST(Shapes, AroundEveryOrderOfTheLoops) {
  if (emulated()) return;
  std::vector<Shape> shapes = {{104, 104, 104}, {200, 200, 200}, {208, 200, 208},
                               {256, 256, 256}, {300, 300, 300}, {312, 256, 383},
                               {768, 48, 385},  {48, 768, 56},   {56, 72, 768}};
  for (const int m : {249, 250}) {
    for (const int n : {79, 80, 100, 101}) {
      for (const int k : {100, 101}) shapes.push_back({m, n, k});
    }
  }
  for (const auto& [m, n] : {std::pair{499, 600},
                             {499, 601},
                             {500, 601},
                             {501, 601},
                             {3, 767},
                             {4, 768},
                             {600, 701},
                             {600, 702},
                             {601, 702},
                             {250, 770}}) {
    shapes.push_back({m, n, 9});
  }
  for_each_kind([&](auto number) { check_blocks<decltype(number)>(shapes); });
}

}  // namespace
}  // namespace level3_test
