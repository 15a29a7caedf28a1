// The spin lock, and the trace hooks on a machine without the analysis tool.
#include "runtime/dispatch/lock.h"

#include <atomic>
#include <chrono>
#include <thread>

#include "tests/frame/support.h"

namespace {

TEST(Lock, TheWordIsOneWhileHeld) {
  volatile int word = 0;
  for (int round = 0; round < 3; ++round) {
    qsl_lock_acquire(&word);
    EXPECT_EQ(word, 1);
    qsl_lock_release(&word);
    EXPECT_EQ(word, 0);
  }
}

TEST(Lock, TheGuardHoldsForItsScope) {
  volatile int word = 0;
  {
    qsl::LockGuard guard(&word);
    EXPECT_EQ(word, 1);
  }
  EXPECT_EQ(word, 0);
}

TEST(Lock, LetsOneThreadInAtATime) {
  constexpr int kThreads = 4, kRounds = 20000;
  volatile int word = 0;
  long counter = 0;  // not atomic: the lock is what orders it
  int inside = 0, most = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < kRounds; ++round) {
        qsl_lock_acquire(&word);
        ++inside;
        most = inside > most ? inside : most;
        ++counter;
        --inside;
        qsl_lock_release(&word);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(counter, long{kThreads} * kRounds);
  EXPECT_EQ(most, 1);
  EXPECT_EQ(word, 0);
}

TEST(Lock, AWaiterOutlastsALongHold) {
  volatile int word = 0;
  std::atomic<bool> entered{false};
  qsl_lock_acquire(&word);
  std::thread waiter([&] {
    qsl_lock_acquire(&word);
    entered = true;
    qsl_lock_release(&word);
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  EXPECT_FALSE(entered);
  qsl_lock_release(&word);
  waiter.join();
  EXPECT_TRUE(entered);
  EXPECT_EQ(word, 0);
}

TEST(Lock, LocksAreIndependent) {
  volatile int a = 0, b = 0;
  qsl_lock_acquire(&a);
  qsl_lock_acquire(&b);
  qsl_lock_release(&a);
  EXPECT_EQ(a, 0);
  EXPECT_EQ(b, 1);
  qsl_lock_release(&b);
}

TEST(TraceHooks, StayUnboundWithoutTheToolAndAreSkipped) {
  qsl_trace_suppress_push();
  qsl_trace_suppress_pop();
  EXPECT_EQ(qsl::qsl_trace_push_hook, nullptr);
  EXPECT_EQ(qsl::qsl_trace_pop_hook, nullptr);
}

}  // namespace
