// Words that one thread writes while others read them without a common lock.
#pragma once

namespace qsl::memory {

// What the writer did before the matching publish() is visible after this.
template <typename T>
T observe(const T& word) {
  T value;
  __atomic_load(&word, &value, __ATOMIC_ACQUIRE);
  return value;
}

template <typename T>
void publish(T& word, T value) {
  __atomic_store(&word, &value, __ATOMIC_RELEASE);
}

}  // namespace qsl::memory
