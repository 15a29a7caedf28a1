// Words that one thread writes while others read them without a common lock.
#pragma once

namespace qsl::memory {

// What the writer did before the matching publish() is visible after this.
template <typename T>
T observe(const T& word) {
  return __atomic_load_n(&word, __ATOMIC_ACQUIRE);
}

template <typename T>
void publish(T& word, T value) {
  __atomic_store_n(&word, value, __ATOMIC_RELEASE);
}

}  // namespace qsl::memory
