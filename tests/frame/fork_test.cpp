// Forks beside threads that hold the library's locks.
#include <pthread.h>
#include <stdio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <functional>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "qsl/memory.h"
#include "runtime/config/threads.h"
#include "runtime/dispatch/lock.h"
#include "runtime/dispatch/reproducibility.h"
#include "runtime/fork.h"
#include "runtime/memory/high_bandwidth.h"
#include "runtime/memory/locks.h"
#include "runtime/memory/memory.h"
#include "runtime/memory/registry.h"
#include "runtime/memory/settings.h"
#include "runtime/memory/setup.h"
#include "runtime/memory/shutdown.h"
#include "runtime/memory/statistics.h"
#include "runtime/verbose/clock.h"
#include "runtime/verbose/verbose.h"
#include "tests/frame/support.h"

namespace {

using namespace qsl;

constexpr unsigned kSecondsAtMost = 20;  // an alarm ends a child that hangs
constexpr int kGood = 40;

int use_everything() {
  void* plain = QSL_malloc(1000, 64);
  void* cached = qsl_mm_allocate(1000, 64);
  if (plain == nullptr || cached == nullptr) return 1;
  qsl_mm_deallocate(cached);
  QSL_Free_Buffers();
  QSL_free(plain);
  return kGood;
}

// The exit code of a child that calls the function; -1 when it had to be ended.
int exit_code_of_child(const std::function<int()>& function) {
  const pid_t child = fork();
  if (child == 0) {
    alarm(kSecondsAtMost);
    const int code = function();
    std::_Exit(code);
  }
  int status = 0;
  if (waitpid(child, &status, 0) != child || !WIFEXITED(status)) return -1;
  return WEXITSTATUS(status);
}

TEST(Fork, ChildOfThreadsThatUseTheMemoryManagerWorksAndExits) {
  std::atomic<bool> stop{false};
  std::vector<std::thread> threads;
  for (int t = 0; t < 3; ++t) {
    threads.emplace_back([&stop] {
      while (!stop) {
        void* p = qsl_mm_allocate(500, 64);
        QSL_Free_Buffers();
        qsl_mm_deallocate(p);
        QSL_free(QSL_malloc(10, 64));
      }
    });
  }
  const int children = std::getenv("QSL_TEST_EMULATED") != nullptr ? 3 : 30;
  for (int i = 0; i < children; ++i) {
    ASSERT_EQ(exit_code_of_child(use_everything), kGood) << "child " << i;
  }
  stop = true;
  for (std::thread& thread : threads) thread.join();
}

// Does something while another thread holds a lock, from before until some time after its start.
void beside_holder(const std::function<void()>& take, const std::function<void()>& let_go,
                   const std::function<void()>& something) {
  std::atomic<bool> taken{false};
  std::thread holder([&] {
    take();
    taken = true;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    let_go();
  });
  while (!taken) std::this_thread::yield();
  something();
  holder.join();
}

TEST(Fork, ChildFindsEveryLockFree) {
  const struct {
    const char* name;
    volatile int* lock;
  } rows[] = {
      {"processor type", &qsl_init_lock},
      {"set-up", &memory::setup_lock},
      {"memory settings", &memory::settings_lock},
      {"thread settings", &thread_settings_lock},
      {"verbose mode", &verbose_mode_lock},
      {"verbose file", &verbose_file_lock},
      {"banner", &banner_lock},
      {"clock", &clock_lock},
      {"registry", &memory::registry_lock},
      {"thread slots", &memory::thread_slots_lock},
      {"high-bandwidth limit", &memory::hbw_limit_lock},
      {"totals", &memory::totals_lock},
      {"shut-down", &memory::shutdown_lock},
      {"callbacks, adding", &memory::memory_callbacks.add_lock},
      {"callbacks, running", &memory::memory_callbacks.run_lock},
      {"service callbacks, adding", &memory::service_callbacks.add_lock},
      {"service callbacks, running", &memory::service_callbacks.run_lock},
      {"trace hooks", &trace_binding_lock},
  };
  for (const auto& row : rows) {
    beside_holder([&] { qsl_lock_acquire(row.lock); }, [&] { qsl_lock_release(row.lock); },
                  [&] {
                    EXPECT_EQ(exit_code_of_child([&] {
                                qsl_lock_acquire(row.lock);
                                qsl_lock_release(row.lock);
                                return kGood;
                              }),
                              kGood)
                        << row.name;
                  });
    EXPECT_EQ(*row.lock, 0) << row.name;
  }
}

TEST(Fork, ChildFindsTheWordsOfOtherThreadsFree) {
  QSL_free(QSL_malloc(10, 64));
  for (const std::uint32_t index : {0u, 1u, 1024u}) {
    beside_holder([&] { memory::lock_entry(index); }, [&] { memory::unlock_entry(index); },
                  [&] {
                    EXPECT_EQ(exit_code_of_child([&] {
                                memory::lock_entry(index);
                                memory::unlock_entry(index);
                                return use_everything();
                              }),
                              kGood)
                        << index;
                  });
  }
}

// Whoever holds one of these may be waiting for the thread that forks: by the loader or by the
// reader of what is printed.
TEST(Fork, DoesNotWaitForLocksUnderWhichOthersAreWaitedFor) {
  for (volatile int* lock : {&trace_binding_lock, &banner_lock, &memory::setup_lock}) {
    spin_acquire(lock);
    alarm(kSecondsAtMost);
    EXPECT_EQ(exit_code_of_child(use_everything), kGood);
    alarm(0);
    spin_release(lock);
  }
}

TEST(Fork, ManyForksAtOnce) {
  frame_test::race(4, [] {
    for (int i = 0; i < 5; ++i) EXPECT_EQ(exit_code_of_child([] { return kGood; }), kGood);
  });
}

// In a process of its own, where no lock was taken yet.
void expect_good_child(const std::string& argument, int times) {
  for (int i = 0; i < times; ++i) {
    int code = 0;
    const std::string text = frame_test::output_of_child(argument, &code);
    ASSERT_EQ(code, kGood) << argument << ", " << i << ": " << text;
  }
}

// The first locks of many threads at once, each of which forks right after.
TEST(Fork, FirstLocksAndForksRace) { expect_good_child("--first-locks", 20); }

int first_locks() {
  std::atomic<bool> good{true};
  frame_test::race(4, [&] {
    QSL_free(QSL_malloc(10, 64));
    if (exit_code_of_child(use_everything) != kGood) good = false;
  });
  return good ? kGood : 1;
}

// A handler that the C library calls after the library's own, being registered before it.
std::atomic<int> window{0};  // 1: wait at a fork until it is 2

void wait_in_fork() {
  if (window != 1) return;
  window = 2;
  while (window != 3) std::this_thread::yield();
}

[[gnu::constructor(101)]] void register_first() { pthread_atfork(wait_in_fork, nullptr, nullptr); }

// These objects stand in for the shared library, which does this when it is loaded.
[[gnu::constructor(102)]] void as_at_load() { survive_forks(); }

// The first lock of all is taken between the handlers and the fork itself.
TEST(Fork, FirstLockInTheMiddleOfAFork) { expect_good_child("--first-lock-in-a-fork", 3); }

int first_lock_in_a_fork() {
  window = 1;
  std::thread user([] {
    while (window != 2) std::this_thread::yield();
    for (volatile int* lock : {&clock_lock, &qsl_init_lock, &memory::registry_lock}) {
      qsl_lock_acquire(lock);
    }
    window = 3;
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    for (volatile int* lock : {&clock_lock, &qsl_init_lock, &memory::registry_lock}) {
      qsl_lock_release(lock);
    }
  });
  const int code = exit_code_of_child([] {
    for (volatile int* lock : {&clock_lock, &qsl_init_lock, &memory::registry_lock}) {
      qsl_lock_acquire(lock);
      qsl_lock_release(lock);
    }
    return use_everything();
  });
  user.join();
  return code;
}

// A program that calls the library under its own lock, and takes that lock before it forks.
TEST(Fork, AProgramsOwnHandlersComeFirst) { expect_good_child("--own-handlers", 1); }

pthread_mutex_t own_mutex = PTHREAD_MUTEX_INITIALIZER;
void lock_own_mutex() { pthread_mutex_lock(&own_mutex); }
void unlock_own_mutex() { pthread_mutex_unlock(&own_mutex); }

int own_handlers() {
  pthread_atfork(lock_own_mutex, unlock_own_mutex, unlock_own_mutex);
  std::atomic<bool> stop{false};
  std::thread worker([&] {
    while (!stop) {
      lock_own_mutex();
      QSL_free(QSL_malloc(100, 64));
      QSL_Free_Buffers();
      unlock_own_mutex();
    }
  });
  bool good = true;
  for (int i = 0; i < 100; ++i) good = exit_code_of_child(use_everything) == kGood && good;
  stop = true;
  worker.join();
  return good ? kGood : 1;
}

// The banner waits for standard output, which the thread that forks holds.
TEST(Fork, BesideABannerThatWaitsToBePrinted) {
  frame_test::set_variable("QSL_VERBOSE", "1");
  expect_good_child("--banner", 1);
  frame_test::set_variable("QSL_VERBOSE", nullptr);
}

int fork_beside_banner() {
  flockfile(stdout);
  std::thread printer([] { qsl_verbose_print(0, "F()", 1); });
  while (__atomic_load_n(&banner_lock, __ATOMIC_ACQUIRE) == 0) std::this_thread::yield();
  const int code = exit_code_of_child([] { return kGood; });
  funlockfile(stdout);
  printer.join();
  return code;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string what = argc == 2 ? argv[1] : "";
  if (!what.empty()) alarm(kSecondsAtMost);
  if (what == "--first-locks") return first_locks();
  if (what == "--first-lock-in-a-fork") return first_lock_in_a_fork();
  if (what == "--own-handlers") return own_handlers();
  if (what == "--banner") return fork_beside_banner();
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
