// The trace hooks with an analysis tool in reach: a stand-in for its library that counts.
//
// The stand-in is loaded by its full path first; the library's own look-up by the bare name then
// finds the one that is loaded.

#include "runtime/dispatch/dispatcher.h"
#include "runtime/platform/platform.h"
#include "tests/frame/support.h"

QSL_DECLARE_VARIANTS(int, frame_traced, (int n));
QSL_DISPATCHER(frame_traced);

namespace {
int at_variant[4];
void count(int counts[4]);
int variant_called() {
  count(at_variant);
  return 42;
}
}  // namespace

#define DEFINE(level) \
  int qsl::level::frame_traced(int) { return variant_called(); }
DEFINE(p4)
DEFINE(p4m)
DEFINE(p4m3)
DEFINE(avx)
DEFINE(avx2)
DEFINE(avx512)

namespace {

using namespace frame_test;

void (*standin_counts)(int counts[4]);
void count(int counts[4]) { standin_counts(counts); }

class Trace : public Frame {
 protected:
  static void SetUpTestSuite() {
    const std::string path = program_folder() + "/frame_modules/" QSL_TRACE_STANDIN;
    qsl::platform::Module* module = qsl::platform::module_load(path.c_str());
    ASSERT_NE(module, nullptr) << path;
    standin_counts =
        reinterpret_cast<void (*)(int*)>(qsl::platform::module_symbol(module, "standin_counts"));
    ASSERT_NE(standin_counts, nullptr);
  }
  void SetUp() override {
    Frame::SetUp();
    ASSERT_NE(standin_counts, nullptr);
    count(before);
  }
  int pushes() {
    int now[4];
    count(now);
    return now[0] - before[0];
  }
  int pops() {
    int now[4];
    count(now);
    return now[1] - before[1];
  }
  void expect_balanced() {
    int now[4];
    count(now);
    EXPECT_EQ(now[0], now[1]);
    EXPECT_EQ(now[3], 0) << "a pop without its push";
  }
  int before[4];
};

TEST_F(Trace, PushHasTheMask255) {
  qsl_trace_suppress_push();
  int now[4];
  count(now);
  EXPECT_EQ(pushes(), 1);
  EXPECT_EQ(now[2], 255);
  qsl_trace_suppress_pop();
  EXPECT_EQ(pops(), 1);
  expect_balanced();
}

TEST_F(Trace, ALockHoldIsBracketed) {
  volatile int word = 0;
  qsl_lock_acquire(&word);
  EXPECT_EQ(pushes(), 1);
  EXPECT_EQ(pops(), 0);
  qsl_lock_release(&word);
  EXPECT_EQ(pushes(), 1);
  EXPECT_EQ(pops(), 1);
  expect_balanced();
}

TEST_F(Trace, TheSlowPathOfADispatcherIsBracketedAndTheFastPathIsNot) {
  qsl_slot_frame_traced = nullptr;
  set_variable("QSL_DEBUG_CPU_TYPE", "7");
  EXPECT_EQ(qsl_dispatch_frame_traced(1), 42);
  EXPECT_EQ(pushes(), 2) << "the dispatcher and the init lock";
  EXPECT_EQ(at_variant[0], at_variant[1]) << "over before the variant runs";
  expect_balanced();
  const int first = pushes();
  EXPECT_EQ(qsl_dispatch_frame_traced(1), 42);
  EXPECT_EQ(pushes(), first);
  expect_balanced();
}

TEST_F(Trace, ARefusalLeavesTheLockBalanced) {
  set_variable("QSL_DEBUG_CPU_TYPE", "8");
  printed([] { exit_code_of([] { qsl_get_cpu_type(); }); });
  expect_balanced();
}

TEST_F(Trace, FirstUsesRaceForTheBinding) {
  volatile int word = 0;
  race(4, [&] {
    for (int round = 0; round < 1000; ++round) qsl::LockGuard guard(&word);
  });
  EXPECT_EQ(pushes(), 4000);
  expect_balanced();
}

}  // namespace
