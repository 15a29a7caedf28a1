// The locks of the memory manager.
//
// Normal traffic holds one word only: threads with an index from 1 to 1024 a word of their own, all
// others the shared word, as sharers. A walker of the whole registry holds the shared word alone
// and then every other word, so it excludes everybody. A thread holds at most one of these; after
// them, in this order, come the registry's lock, that of the thread-local slots, the high-bandwidth
// limit's and the statistics'.
#pragma once

#include <cstdint>

#include "runtime/dispatch/lock.h"
#include "runtime/memory/annotations.h"

namespace qsl::memory {

inline constexpr std::uint32_t kOwnWords = 1024;
inline constexpr int kSharer = 2;  // each sharer adds this; bit 0 is the walker's

// A lock word that has its cache line to itself.
struct alignas(64) SpinWord {
  int word;
};

extern SpinWord entry_words[kOwnWords];
extern int shared_word;

inline bool try_word(int& word) {
  int free = 0;
  return __atomic_compare_exchange_n(&word, &free, 1, false, __ATOMIC_ACQUIRE, __ATOMIC_RELAXED);
}

// The lock of an index from 1 to 1024. To helgrind its holder is one more sharer, and the walker
// the shared word's only owner: that says the same and spares the tool sets of a thousand locks.
inline void lock_own(std::uint32_t index) {
  int& word = entry_words[index - 1].word;
  while (!try_word(word)) [[unlikely]] {
    }
  QSL_NOTE_LOCKED(&shared_word, 0);
  QSL_NOTE_LOCKED(&word, 1);
}

inline void unlock_own(std::uint32_t index) {
  int& word = entry_words[index - 1].word;
  QSL_NOTE_UNLOCKING(&word, 1);
  QSL_NOTE_UNLOCKING(&shared_word, 0);
  __atomic_store_n(&word, 0, __ATOMIC_RELEASE);
}

// The lock of any index, between the analysis tool's hooks; 0 is a thread without one.
void lock_entry(std::uint32_t index);
void unlock_entry(std::uint32_t index);

void walker_lock();
// Gives up after some thousand attempts: a thread that held one of the words when the process was
// forked does not exist in the child and never lets go.
bool walker_try_lock();
void walker_unlock();
// The walker's words by themselves, for a thread that forks.
void take_all_words();
void let_go_of_all_words();

// Opening and closing the platform's thread-local slots, whichever kind.
extern volatile int thread_slots_lock;

// The ordinary spin lock, and the same bound for it.
void acquire(volatile int* word);
bool try_acquire(volatile int* word);
void release(volatile int* word);
// True when the lock can be had, which is then left alone.
bool obtainable(volatile int* word);

// Holds a spin lock for a scope.
class Guard {
 public:
  explicit Guard(volatile int* word) : word_(word) { acquire(word_); }
  ~Guard() { release(word_); }
  Guard(const Guard&) = delete;
  Guard& operator=(const Guard&) = delete;

 private:
  volatile int* word_;
};

}  // namespace qsl::memory
