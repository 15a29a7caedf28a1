// Arrays for the tests: any address, guarded values around, reproducible contents.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#else
#define ASAN_POISON_MEMORY_REGION(begin, size) (static_cast<void>(begin), static_cast<void>(size))
#define ASAN_UNPOISON_MEMORY_REGION(begin, size) (static_cast<void>(begin), static_cast<void>(size))
#endif

namespace level1_test {

// Pseudo-random doubles of widely different size, so that the order of a sum shows in its bits.
class Values {
 public:
  explicit Values(std::uint64_t seed) : state_(seed * 2 + 1) {}

  double next() {
    const std::uint64_t bits = word();
    const double fraction = static_cast<double>(bits >> 11) * 0x1p-52 - 1.0;  // -1 ... 1
    const int exponent = static_cast<int>(word() >> 59) - 16;
    return exponent < 0 ? fraction / static_cast<double>(1 << -exponent)
                        : fraction * static_cast<double>(1 << exponent);
  }

 private:
  std::uint64_t word() {
    state_ ^= state_ << 13;
    state_ ^= state_ >> 7;
    state_ ^= state_ << 17;
    return state_ * 0x2545f4914f6cdd1dULL;
  }
  std::uint64_t state_;
};

// Room for `count` doubles at an address that is `phase` modulo 64. The bytes around hold a
// signalling NaN, so that a read outside shows in a sum and a write outside in `intact`. Under
// AddressSanitizer they may not be touched at all, which also shows reads whose value is not used.
class GuardedArray {
 public:
  static constexpr std::size_t margin = 128;

  GuardedArray(std::size_t count, unsigned phase)
      : bytes_(count * sizeof(double) + 2 * margin + 128), size_(count * sizeof(double)) {
    const auto base = reinterpret_cast<std::uintptr_t>(bytes_.data()) + margin;
    start_ = margin + ((phase - base) & 63);
    for (std::size_t i = 0; i < bytes_.size(); i++) bytes_[i] = guard(i - start_);
    forbid_outside();
  }
  ~GuardedArray() { allow_all(); }
  GuardedArray(const GuardedArray&) = delete;
  GuardedArray& operator=(const GuardedArray&) = delete;

  double* data() { return reinterpret_cast<double*>(bytes_.data() + start_); }
  template <class Element>
  Element* as() {
    return reinterpret_cast<Element*>(bytes_.data() + start_);
  }
  // Element i, wherever it lies.
  void set(std::size_t i, double value) {
    std::memcpy(bytes_.data() + start_ + i * sizeof(double), &value, sizeof value);
  }
  double get(std::size_t i) const {
    double value;
    std::memcpy(&value, bytes_.data() + start_ + i * sizeof(double), sizeof value);
    return value;
  }
  void fill(Values values) {
    for (std::size_t i = 0; i < size_ / sizeof(double); i++) set(i, values.next());
  }
  bool intact() const {
    allow_all();
    bool result = true;
    for (std::size_t i = 0; i < bytes_.size(); i++) {
      const bool inside = i >= start_ && i < start_ + size_;
      if (!inside && bytes_[i] != guard(i - start_)) result = false;
    }
    forbid_outside();
    return result;
  }
  bool same_contents(const GuardedArray& other) const {
    return size_ == other.size_ &&
           std::memcmp(bytes_.data() + start_, other.bytes_.data() + other.start_, size_) == 0;
  }

 private:
  void forbid_outside() const {
    ASAN_POISON_MEMORY_REGION(bytes_.data(), start_);
    ASAN_POISON_MEMORY_REGION(bytes_.data() + start_ + size_, bytes_.size() - start_ - size_);
  }
  void allow_all() const { ASAN_UNPOISON_MEMORY_REGION(bytes_.data(), bytes_.size()); }

  static std::uint8_t guard(std::size_t offset) {
    static constexpr std::uint8_t signalling_nan[8] = {0x5a, 0xa5, 0x3c, 0xc3,
                                                       0x11, 0x22, 0xf4, 0x7f};
    return signalling_nan[offset & 7];
  }

  std::vector<std::uint8_t> bytes_;
  std::size_t size_;
  std::size_t start_;
};

// An emulated processor is slow: fewer sizes are swept when QSL_TEST_EMULATED is set.
inline bool emulated() { return std::getenv("QSL_TEST_EMULATED") != nullptr; }

// A library with checks in its own code is slow, too, if not as slow as an emulator.
#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool instrumented = true;
#else
inline constexpr bool instrumented = false;
#endif

// Addresses modulo 64: every fourth byte, as 32-bit programs align doubles, and some odd ones.
inline std::vector<unsigned> phases() {
  if (emulated()) return {0, 4, 8, 16, 24, 32, 56};
  std::vector<unsigned> result = {1, 7, 13, 31, 50, 63};
  for (unsigned phase = 0; phase < 64; phase += 4) result.push_back(phase);
  return result;
}

// Every count up to `small` and the neighbourhood of larger ones.
inline std::vector<int> counts(int small, std::initializer_list<int> others) {
  std::vector<int> result;
  for (int n = 0; n <= (emulated() ? std::min(small, 70) : small); n++) result.push_back(n);
  for (const int n : others) {
    for (int count = n - 2; count <= n + 2; count++) result.push_back(count);
  }
  return result;
}

// Elements that an array needs.
inline std::size_t extent(int n, int inc) {
  return n <= 0 ? 0 : 1 + static_cast<std::size_t>(n - 1) * static_cast<std::size_t>(std::abs(inc));
}

// Index in memory of the logical element i: a negative stride starts at the far end.
inline std::size_t walk(int n, int inc, int i) {
  return static_cast<std::size_t>((inc < 0 ? (1 - n) * inc : 0) + i * inc);
}

inline constexpr int strides[] = {-3, -2, -1, 0, 1, 2, 5};

inline bool same_bits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

}  // namespace level1_test
