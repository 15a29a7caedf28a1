#include "runtime/memory/locks.h"

#include "runtime/platform/platform.h"

namespace qsl::memory {

SpinWord entry_words[kOwnWords];
int shared_word = 0;
volatile int thread_slots_lock = 0;

namespace {

#ifdef QSL_HELGRIND
[[gnu::constructor]] void note_lock_words() {
  QSL_NOTE_ATOMIC_WORDS(entry_words, sizeof entry_words);
  QSL_NOTE_ATOMIC_WORDS(&shared_word, sizeof shared_word);
}
#endif

// Attempts before a bounded wait gives up. The later ones give the time slice away, so that a
// holder that merely waits for its turn gets it.
constexpr int kPauses = 5000;
constexpr int kYields = 2000;

class Attempts {
 public:
  bool next() {
    ++made_;
    if (made_ <= kPauses) {
      __builtin_ia32_pause();
    } else {
      platform::yield();
    }
    return made_ < kPauses + kYields;
  }

 private:
  int made_ = 0;
};

void let_go_of_words(std::uint32_t count) {
  while (count > 0) {
    --count;
    __atomic_store_n(&entry_words[count].word, 0, __ATOMIC_RELEASE);
  }
  __atomic_store_n(&shared_word, 0, __ATOMIC_RELEASE);
}

void share() {
  int seen = __atomic_load_n(&shared_word, __ATOMIC_RELAXED);
  for (;;) {
    if ((seen & 1) != 0) {
      seen = __atomic_load_n(&shared_word, __ATOMIC_RELAXED);
    } else if (__atomic_compare_exchange_n(&shared_word, &seen, seen + kSharer, false,
                                           __ATOMIC_ACQUIRE, __ATOMIC_RELAXED)) {
      break;
    }
  }
  QSL_NOTE_LOCKED(&shared_word, 0);
}

void unshare() {
  QSL_NOTE_UNLOCKING(&shared_word, 0);
  __atomic_fetch_sub(&shared_word, kSharer, __ATOMIC_RELEASE);
}

}  // namespace

void lock_entry(std::uint32_t index) {
  qsl_trace_suppress_push();
  if (index - 1 < kOwnWords) {
    lock_own(index);
  } else {
    share();
  }
}

void unlock_entry(std::uint32_t index) {
  if (index - 1 < kOwnWords) {
    unlock_own(index);
  } else {
    unshare();
  }
  qsl_trace_suppress_pop();
}

void take_all_words() {
  while (!try_word(shared_word)) {
  }
  for (SpinWord& own : entry_words) {
    while (!try_word(own.word)) {
    }
  }
}

void let_go_of_all_words() { let_go_of_words(kOwnWords); }

void walker_lock() {
  qsl_trace_suppress_push();
  take_all_words();
  QSL_NOTE_LOCKED(&shared_word, 1);
}

bool walker_try_lock() {
  Attempts attempts;
  qsl_trace_suppress_push();
  while (!try_word(shared_word)) {
    if (!attempts.next()) {
      qsl_trace_suppress_pop();
      return false;
    }
  }
  for (std::uint32_t i = 0; i < kOwnWords; ++i) {
    while (!try_word(entry_words[i].word)) {
      if (!attempts.next()) {
        let_go_of_words(i);
        qsl_trace_suppress_pop();
        return false;
      }
    }
  }
  QSL_NOTE_LOCKED(&shared_word, 1);
  return true;
}

void walker_unlock() {
  QSL_NOTE_UNLOCKING(&shared_word, 1);
  let_go_of_all_words();
  qsl_trace_suppress_pop();
}

void acquire(volatile int* word) {
  QSL_NOTE_ATOMIC_WORDS(const_cast<int*>(word), sizeof *word);
  qsl_lock_acquire(word);
  QSL_NOTE_LOCKED(const_cast<int*>(word), 1);
}

bool try_acquire(volatile int* word) {
  Attempts attempts;
  qsl_trace_suppress_push();
  int* plain = const_cast<int*>(word);
  while (!try_word(*plain)) {
    if (!attempts.next()) {
      qsl_trace_suppress_pop();
      return false;
    }
  }
  QSL_NOTE_LOCKED(plain, 1);
  return true;
}

void release(volatile int* word) {
  QSL_NOTE_UNLOCKING(const_cast<int*>(word), 1);
  qsl_lock_release(word);
}

bool obtainable(volatile int* word) {
  if (!try_acquire(word)) return false;
  release(word);
  return true;
}

}  // namespace qsl::memory
