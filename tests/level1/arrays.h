// Arrays for the tests: any address, guarded values around, reproducible contents.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

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
// signalling NaN, so that a read outside shows in a sum and a write outside in `intact`.
class GuardedArray {
 public:
  static constexpr std::size_t margin = 256;

  GuardedArray(std::size_t count, unsigned phase)
      : bytes_(count * sizeof(double) + 2 * margin + 128), size_(count * sizeof(double)) {
    const auto base = reinterpret_cast<std::uintptr_t>(bytes_.data()) + margin;
    start_ = margin + ((phase - base) & 63);
    for (std::size_t i = 0; i < bytes_.size(); i++) bytes_[i] = guard(i - start_);
  }

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
    for (std::size_t i = 0; i < bytes_.size(); i++) {
      const bool inside = i >= start_ && i < start_ + size_;
      if (!inside && bytes_[i] != guard(i - start_)) return false;
    }
    return true;
  }
  bool same_contents(const GuardedArray& other) const {
    return size_ == other.size_ &&
           std::memcmp(bytes_.data() + start_, other.bytes_.data() + other.start_, size_) == 0;
  }

 private:
  static std::uint8_t guard(std::size_t offset) {
    static constexpr std::uint8_t signalling_nan[8] = {0x5a, 0xa5, 0x3c, 0xc3,
                                                       0x11, 0x22, 0xf4, 0x7f};
    return signalling_nan[offset & 7];
  }

  std::vector<std::uint8_t> bytes_;
  std::size_t size_;
  std::size_t start_;
};

inline bool same_bits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

}  // namespace level1_test
