// A child forked while other threads hold the memory manager's locks: everything works in it, and
// it exits. Where processes don't fork there is nothing to test.
#include <atomic>
#include <cstdlib>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "runtime/memory/services.h"
#include "tests/memory/support.h"

namespace memory_test {
namespace {

TEST(Services, StandInTheirOrder) {
  EXPECT_EQ(qsl_mm_services.malloc, &QSL_malloc);
  EXPECT_EQ(qsl_mm_services.unused, nullptr);
  EXPECT_EQ(qsl_mm_services.allocate, &qsl_mm_allocate);
  EXPECT_EQ(qsl_mm_services.free, &QSL_free);
  EXPECT_EQ(qsl_mm_services.deallocate, &qsl_mm_deallocate);
}

}  // namespace
}  // namespace memory_test

#ifndef _WIN32

#include <sys/wait.h>
#include <unistd.h>

namespace memory_test {
namespace {

constexpr unsigned kSecondsAtMost = 20;  // an alarm ends a child that hangs
constexpr int kGood = 40;

int use_everything() {
  alarm(kSecondsAtMost);
  void* plain = QSL_malloc(1000, 64);
  void* cached = qsl_mm_allocate(1000, 64);
  if (plain == nullptr || cached == nullptr) return 1;
  qsl_mm_deallocate(cached);
  QSL_Free_Buffers();
  QSL_free(plain);
  return kGood;
}

TEST(Fork, ChildOfBusyThreadsWorksAndExits) {
  qsl_mm_survive_forks();
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
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) std::exit(use_everything());
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status)) << "child " << i << " was ended by signal " << WTERMSIG(status);
    ASSERT_EQ(WEXITSTATUS(status), kGood) << "child " << i;
  }
  stop = true;
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace memory_test

#endif
