// The shut-down, its registries, and the thread-state block.
#include <cstring>
#include <thread>
#include <vector>

#ifdef _WIN32
#include <windows.h>
#else
#include <pthread.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

#include "runtime/lifecycle.h"
#include "runtime/messages/messages.h"
#include "tests/memory/support.h"

namespace memory_test {
namespace {

// Nothing can be undone here, so every test runs in a process of its own.
class InAChild : public ::testing::Test {
 protected:
  void SetUp() override { testing::FLAGS_gtest_death_test_style = "threadsafe"; }
};
using Shutdown = InAChild;
using ThreadState = InAChild;

constexpr int kGood = 40;
constexpr int kBad = 41;

[[noreturn]] void finish(bool good) { std::_Exit(good ? kGood : kBad); }

#define EXPECT_IN_CHILD(statement) EXPECT_EXIT(statement, testing::ExitedWithCode(kGood), "")

std::vector<int>* order = nullptr;

void note(void* argument) { order->push_back(static_cast<int>(address(argument))); }
void* word(int value) { return reinterpret_cast<void*>(static_cast<std::uintptr_t>(value)); }

TEST_F(Shutdown, RunsBothRegistriesBackwardsOnce) {
  EXPECT_IN_CHILD({
    order = new std::vector<int>;
    qsl_mm_at_shutdown(note, word(1));
    qsl_service_at_shutdown(note, word(2));
    qsl_mm_at_shutdown(note, word(3));
    qsl_service_at_shutdown(note, word(4));
    qsl_shutdown();
    qsl_shutdown();
    finish(*order == std::vector<int>({4, 2, 3, 1}));
  });
}

void add_and_note(void* argument) {
  qsl_mm_at_shutdown(note, word(9));
  note(argument);
}

TEST_F(Shutdown, CallbackMayAddOthers) {
  EXPECT_IN_CHILD({
    order = new std::vector<int>;
    qsl_mm_at_shutdown(note, word(1));
    qsl_mm_at_shutdown(add_and_note, word(2));
    qsl_shutdown();
    finish(*order == std::vector<int>({2, 9, 1}));
  });
}

TEST_F(Shutdown, RegistryHolds32Pairs) {
  EXPECT_IN_CHILD({
    order = new std::vector<int>;
    for (int i = 0; i < 32; ++i) qsl_service_at_shutdown(note, word(i));
    qsl_shutdown();
    finish(order->size() == 32);
  });
}

TEST_F(Shutdown, ThirtyThirdPairEndsTheProcess) {
  EXPECT_EXIT(for (int i = 0; i < 33; ++i) qsl_service_at_shutdown(note, nullptr),
              testing::ExitedWithCode(3), "");
  EXPECT_EXIT(for (int i = 0; i < 33; ++i) qsl_mm_at_shutdown(note, nullptr),
              testing::ExitedWithCode(3), "");
}

TEST_F(Shutdown, GivesTheBuffersBack) {
  EXPECT_IN_CHILD({
    CountingBackEnd counting;
    qsl_mm_deallocate(qsl_mm_allocate(1000, 64));
    const int live = CountingBackEnd::live();
    qsl_shutdown();
    finish(live == 3 && CountingBackEnd::live() == 0);
  });
}

TEST_F(Shutdown, EverythingWorksAfterwards) {
  EXPECT_IN_CHILD({
    CountingBackEnd counting;
    void* plain = QSL_malloc(1000, 64);
    void* fast = qsl_mm_allocate(1000, 64);
    std::memset(fast, 1, 1000);
    qsl_shutdown();
    std::memset(fast, 2, 1000);
    std::memset(plain, 2, 1000);
    bool good = calling_ticket() == nullptr;
    void* p = qsl_mm_allocate(100, 64);
    good = good && outer_header(p).total == 180;  // the plain layer
    on_thread([&] {
      void* q = qsl_mm_allocate(100, 64);
      good = good && outer_header(q).total == 180 && calling_ticket() == nullptr;
      qsl_mm_deallocate(p);
      qsl_mm_deallocate(q);
      QSL_free(QSL_malloc(100, 64));
    });
    qsl_mm_deallocate(fast);  // found by the search
    QSL_free(plain);
    good = good && qsl_thread_state() != nullptr;
    QSL_Free_Buffers();
    qsl_mm_thread_exit();
    finish(good && CountingBackEnd::live() == 0);
  });
}

TEST_F(Shutdown, ProcessDetachAtTheProcessEndReleasesNothing) {
  EXPECT_IN_CHILD({
    CountingBackEnd counting;
    qsl_mm_deallocate(qsl_mm_allocate(1000, 64));
    const int live = CountingBackEnd::live();
    qsl_process_detach(true);
    const bool kept = CountingBackEnd::live() == live;
    qsl_process_detach(false);
    finish(kept && CountingBackEnd::live() == 0);
  });
}

TEST_F(Shutdown, SkipsTheReleaseWhileALockCannotBeHad) {
  EXPECT_IN_CHILD({
    CountingBackEnd counting;
    qsl_mm_deallocate(qsl_mm_allocate(1000, 64));
    const int live = CountingBackEnd::live();
    bool good = true;
    for (volatile int* lock : {&registry_lock, &totals_lock, &hbw_limit_lock}) {
      acquire(lock);
      good = good && !try_free_buffers();
      release(lock);
    }
    lock_entry(7);
    good = good && !try_free_buffers();
    unlock_entry(7);
    lock_entry(0);
    good = good && !try_free_buffers();
    unlock_entry(0);
    good = good && CountingBackEnd::live() == live;
    good = good && try_free_buffers() && CountingBackEnd::live() == 0;
    finish(good);
  });
}

#ifndef _WIN32
// A process that is split off behind the C library's back has not the threads that held locks, and
// must be able to end all the same.
TEST_F(Shutdown, SplitOffProcessEndsWhateverWasLocked) {
  EXPECT_IN_CHILD({
    qsl_mm_deallocate(qsl_mm_allocate(1000, 64));
    bool good = true;
    for (int what = 0; what < 6; ++what) {
      int stage = 0;
      std::thread holder([&] {
        volatile int* lock = what == 0   ? &registry_lock
                             : what == 1 ? &totals_lock
                             : what == 2 ? &hbw_limit_lock
                             : what == 3 ? &thread_slots_lock
                                         : nullptr;
        const std::uint32_t index = what == 4 ? 0 : 9;
        if (lock != nullptr) {
          acquire(lock);
        } else {
          lock_entry(index);
        }
        __atomic_store_n(&stage, 1, __ATOMIC_SEQ_CST);
        while (__atomic_load_n(&stage, __ATOMIC_SEQ_CST) == 1) std::this_thread::yield();
        if (lock != nullptr) {
          release(lock);
        } else {
          unlock_entry(index);
        }
      });
      while (__atomic_load_n(&stage, __ATOMIC_SEQ_CST) == 0) std::this_thread::yield();
      const pid_t child = static_cast<pid_t>(syscall(SYS_fork));
      if (child == 0) {
        alarm(20);
        qsl_process_detach(false);
        std::_Exit(kGood);
      }
      int status = 0;
      waitpid(child, &status, 0);
      good = good && WIFEXITED(status) && WEXITSTATUS(status) == kGood;
      __atomic_store_n(&stage, 2, __ATOMIC_SEQ_CST);
      holder.join();
    }
    finish(good);
  });
}
#endif

TEST_F(ThreadState, IsZeroedAndTheThreadsOwn) {
  EXPECT_IN_CHILD({
    char* state = static_cast<char*>(qsl_thread_state());
    const char zeros[20] = {};
    bool good = std::memcmp(state, zeros, 20) == 0 && qsl_thread_state() == state;
    std::memset(state, 0x55, 24);
    on_thread([&] {
      char* other = static_cast<char*>(qsl_thread_state());
      good = good && other != state && std::memcmp(other, zeros, 20) == 0;
      std::memset(other, 0x66, 24);
      qsl_thread_detach();
    });
    good = good && state[0] == 0x55 && state[23] == 0x55;
    qsl_thread_state_free();
    state = static_cast<char*>(qsl_thread_state());
    good = good && std::memcmp(state, zeros, 20) == 0;
    qsl_thread_state_free();
    qsl_thread_state_free();
    finish(good);
  });
}

TEST_F(ThreadState, IsThereAgainAfterItsShutdown) {
  EXPECT_IN_CHILD({
    qsl_thread_state();
    qsl_thread_state_shutdown();
    qsl_thread_state_shutdown();
    finish(qsl_thread_state() != nullptr);
  });
}

// Leaves the system no thread-local slot.
void take_all_slots() {
#ifdef _WIN32
  while (TlsAlloc() != TLS_OUT_OF_INDEXES) {
  }
#else
  pthread_key_t key;
  while (pthread_key_create(&key, nullptr) == 0) {
  }
  dup2(2, 1);  // what is printed shows among the child's errors
#endif
}

TEST_F(ThreadState, FailureIsReportedAndEndsTheProcess) {
#ifdef _WIN32
  const char* const message = "";
#else
  const char* const message = "Arvex QSL FATAL ERROR: memory allocation error\\.";
#endif
  EXPECT_EXIT(
      {
        take_all_slots();
        qsl_thread_state();
        finish(false);
      },
      testing::ExitedWithCode(3), message);
}

TEST_F(ThreadState, TicketThatCannotBeMadeLeavesThePlainLayer) {
  EXPECT_IN_CHILD({
    take_all_slots();
    bool good = true;
    for (int i = 0; i < 3; ++i) {
      void* p = qsl_mm_allocate(100, 64);
      good = good && outer_header(p).total == 180 && calling_ticket() == nullptr;
      qsl_mm_deallocate(p);
      QSL_free(QSL_malloc(100, 64));
    }
    QSL_Free_Buffers();
    finish(good);
  });
}

}  // namespace
}  // namespace memory_test
