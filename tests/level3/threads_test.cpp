// Products of different shapes at once.
#include <atomic>
#include <thread>

#include "tests/level3/problem.h"

namespace level3_test {
namespace {

// Every thread's products, again and again, against those of a single thread.
template <class Number>
void race(const std::vector<Shape>& shapes) {
  const int rounds = emulated() ? 2 : 20;
  std::vector<std::unique_ptr<Operands<Number>>> expected;
  std::vector<std::unique_ptr<Problem<Number>>> problems;
  std::vector<Call> calls;
  for (unsigned i = 0; i < shapes.size(); i++) {
    Call call = rotated<Number>(4 * i + 1, Data::general);
    call.alpha = general_factor<Number>();
    calls.push_back(call);
    problems.push_back(std::make_unique<Problem<Number>>(shapes[i]));
    expected.push_back(std::make_unique<Operands<Number>>(*problems[i], call));
    expected[i]->run(Exported<Number>(), shapes[i], call);
  }
  std::atomic<unsigned> waiting{static_cast<unsigned>(shapes.size())};
  std::atomic<int> different{0};
  std::vector<std::thread> threads;
  for (unsigned i = 0; i < shapes.size(); i++) {
    threads.emplace_back([&, i] {
      --waiting;
      while (waiting > 0) std::this_thread::yield();
      for (int round = 0; round < rounds; round++) {
        // Each thread takes its own shape most of the time, and the next one's for a change.
        const std::size_t which = round % 5 == 4 ? (i + 1) % shapes.size() : i;
        Operands<Number> operands(*problems[which], calls[which]);
        operands.run(Exported<Number>(), shapes[which], calls[which]);
        if (!operands.c.same_bytes(expected[which]->c) || !operands.c.intact()) ++different;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(different, 0) << kind_name<Number>();
}

TEST(Threads, ResultsAreThoseOfOneThread) {
  std::vector<Shape> shapes = {{30, 33, 40}, {70, 5, 1}, {101, 5, 20}, {1, 60, 50}};
  if (!emulated()) shapes.insert(shapes.end(), {{80, 90, 140}, {75, 75, 300}});
  for_each_kind([&](auto number) { race<decltype(number)>(shapes); });
}

}  // namespace
}  // namespace level3_test
