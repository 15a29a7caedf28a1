// The search for a NaN, by sums and element by element.
#include <gtest/gtest.h>

#include <vector>

#include "tests/lapack/numbers.h"
#include "tests/lapack/variants.h"

namespace lapack_test {
namespace {

class NanScan : public VariantTest {};

constexpr std::uint64_t kQuiet = 0x7ff8000000000000, kNegative = 0xfff8000000000001,
                        kSignalling = 0x7ff0000000000001, kNegativeSignalling = 0xfff4000000000000;

// Doubles at any address that may be read, NaNs in those that are not part of the matrix, and
// around.
class Field {
 public:
  Field(int size, unsigned phase)
      : size_(size), array_(static_cast<std::size_t>(size), phase), in_(size) {
    for (int i = 0; i < size; i++) set_bits(i, kSignalling);
  }
  void include(int i, double value) {
    in_[static_cast<std::size_t>(i)] = true;
    array_.set(static_cast<std::size_t>(i), value);
  }
  bool includes(int i) const { return in_[static_cast<std::size_t>(i)]; }
  void set_bits(int i, std::uint64_t bits) {
    std::memcpy(array_.as<char>() + i * sizeof bits, &bits, sizeof bits);
  }
  std::uint64_t bits(int i) {
    std::uint64_t result;
    std::memcpy(&result, array_.as<char>() + i * sizeof result, sizeof result);
    return result;
  }
  int size() const { return size_; }
  const double* data() { return array_.data(); }

  // scan(direct) finds nothing but the NaN that is set, wherever that is.
  template <class Scan>
  void check(const Scan& scan, unsigned index) {
    for (const int direct : {0, 1})
      ASSERT_EQ(scan(direct), 0) << "without a NaN, direct " << direct;
    const std::uint64_t kinds[] = {kQuiet, kNegative, kSignalling, kNegativeSignalling};
    for (int i = 0; i < size_; i++) {
      if (!includes(i) || (size_ > 300 && i % 7 != 0 && i + 9 < size_)) continue;
      const std::uint64_t before = bits(i);
      const std::uint64_t kind = kinds[(static_cast<unsigned>(i) + index) % 4];
      set_bits(i, kind);
      for (const int direct : {0, 1}) ASSERT_EQ(scan(direct), 1) << "at " << i << ", " << direct;
      ASSERT_EQ(bits(i), kind);
      set_bits(i, before);
    }
  }

 private:
  int size_;
  level1_test::GuardedArray array_;
  std::vector<bool> in_;
};

std::vector<int> lengths() {
  if (emulated()) return {0, 1, 2, 3, 7, 8, 9, 16, 17, 33};
  return {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 12, 15, 16, 17, 23, 24, 31, 32, 33, 65};
}

template <class Value>
void for_each_field(const Variant& variant, const Value& value) {
  unsigned index = 1;
  for (const int length : lengths()) {
    for (const int count : {0, 1, 2, 3, 9}) {
      for (const int pad : {0, 1, 4}) {
        index++;
        if (instrumented && index % 3 != 0) continue;
        const int step = length + pad;
        const int size = count == 0 || length == 0 ? 0 : (count - 1) * step + length;
        Field field(size, index * 12 % 64);
        for (int j = 0; j < count; j++) {
          for (int i = 0; i < length; i++) field.include(j * step + i, value(i + 3 * j));
        }
        ASSERT_NO_FATAL_FAILURE(field.check(
            [&](int direct) {
              return variant.nan_in_runs(direct, count, length, field.data(), step);
            },
            index))
            << count << " runs of " << length << " by " << step;
      }
    }
  }
}

TEST_P(NanScan, EveryElementOfEveryRunIsSeen) {
  for_each_field(GetParam(), [](int i) { return i % 7 - 3.0; });
}

// Their sum is NaN, or overflows to one.
TEST_P(NanScan, InfinitiesAndHugeNumbersAreNoNan) {
  for_each_field(GetParam(), [](int i) { return i % 2 == 0 ? infinity : -infinity; });
  for_each_field(GetParam(), [](int i) { return i % 3 == 0 ? -infinity : infinity; });
  for_each_field(GetParam(), [](int i) { return i % 5 < 3 ? 0x1.8p1023 : -0x1.8p1023; });
  for_each_field(GetParam(), [](int i) { return i % 2 == 0 ? 0x1p-1074 : -0.0; });
}

// Runs of a band's storage: those of a column from the diagonal's place on, cut at both ends.
template <class Value>
void for_each_band(const Variant& variant, const Value& value) {
  unsigned index = 1;
  for (const int count : {0, 1, 2, 5, 14}) {
    for (const int first : {0, 1, 3, 9}) {
      for (const int end : {1, 4, 12, 20}) {
        for (const int most : {1, 3, 8, 13}) {
          index++;
          if ((emulated() || instrumented) && index % 4 != 0) continue;
          const int ld = most + static_cast<int>(index % 3);
          Field field(count == 0 ? 0 : 2 * ld * count, index * 12 % 64);
          for (int j = 0; j < count; j++) {
            for (int i = std::max(first - j, 0); i < std::min(end - j, most); i++) {
              field.include(2 * (i + j * ld), value(i + j));
              field.include(2 * (i + j * ld) + 1, value(i + j + 1));
            }
          }
          ASSERT_NO_FATAL_FAILURE(field.check(
              [&](int direct) {
                return variant.nan_in_band(direct, count, first, end, most,
                                           reinterpret_cast<const complex_double*>(field.data()),
                                           ld);
              },
              index))
              << count << " runs from " << first << " to " << end << ", at most " << most;
        }
      }
    }
  }
}

TEST_P(NanScan, EveryElementOfABandIsSeenAndNoOther) {
  for_each_band(GetParam(), [](int i) { return i % 7 - 3.0; });
  for_each_band(GetParam(), [](int i) { return i % 2 == 0 ? infinity : -infinity; });
}

INSTANTIATE_TEST_SUITE_P(Levels, NanScan, testing::ValuesIn(all_variants()), name_of);

}  // namespace
}  // namespace lapack_test
