// Matrices of the tests: by their elements, and as they lie in memory for a call.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "tests/level1/arrays.h"
#include "tests/level3/numbers.h"

namespace level3_test {

// A matrix by its elements, whatever the storage. Real and imaginary parts stand apart, in double,
// which holds every kind of number.
class Elements {
 public:
  enum class Order { by_rows, by_columns };

  Elements(int rows, int columns, Order order, bool complex)
      : rows_(rows),
        columns_(columns),
        row_step_(order == Order::by_rows ? columns : 1),
        column_step_(order == Order::by_rows ? 1 : rows),
        re_(static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns)),
        im_(complex ? re_.size() : 0) {}

  // From the `start`-th number of the period on.
  void fill(const std::vector<double>& period, std::size_t start);

  int rows() const { return rows_; }
  int columns() const { return columns_; }
  std::size_t row_step() const { return static_cast<std::size_t>(row_step_); }
  std::size_t column_step() const { return static_cast<std::size_t>(column_step_); }
  std::size_t index(int i, int j) const {
    return static_cast<std::size_t>(i) * row_step() + static_cast<std::size_t>(j) * column_step();
  }
  bool is_complex() const { return !im_.empty(); }
  std::size_t count() const { return re_.size(); }
  const double* re() const { return re_.data(); }
  const double* im() const { return im_.data(); }
  void set(int i, int j, Value value) {
    re_[index(i, j)] = value.re;
    if (is_complex()) im_[index(i, j)] = value.im;
  }
  Value at(int i, int j) const { return {re_[index(i, j)], is_complex() ? im_[index(i, j)] : 0.0}; }

 private:
  int rows_, columns_, row_step_, column_step_;
  std::vector<double> re_, im_;
};

// How a matrix lies in memory: columns or rows contiguous, conjugated, with a gap of `pad` elements
// between them, at an address that is `phase` modulo 64.
struct Storage {
  bool rows_contiguous = false;
  bool conjugated = false;
  int pad = 0;
  unsigned phase = 0;
};

// Signalling NaNs for this kind of number, in the gaps and around the arrays; whole numbers of
// them.
template <class Number>
inline void set_guard(unsigned char* to, std::size_t bytes) {
  constexpr bool single = std::is_same_v<Number, complex_float>;
  constexpr std::uint32_t words[2] = {single ? 0x7fa00001u : 0xdeadbeefu,
                                      single ? 0xffa00002u : 0x7ff4deadu};
  for (std::size_t at = 0; at < bytes; at += sizeof words)
    std::memcpy(to + at, words, sizeof words);
}

template <class Number>
class Stored {
 public:
  Stored(int rows, int columns, const Storage& storage)
      : rows_(rows),
        columns_(columns),
        run_(storage.rows_contiguous ? columns : rows),
        runs_(storage.rows_contiguous ? rows : columns),
        ld_((run_ > 1 ? run_ : 1) + storage.pad),
        storage_(storage),
        size_(rows == 0 || columns == 0
                  ? 0
                  : (static_cast<std::size_t>(runs_ - 1) * ld_ + run_) * sizeof(Number)),
        bytes_(size_ + 2 * margin + 64) {
    const auto base = reinterpret_cast<std::uintptr_t>(bytes_.data()) + margin;
    start_ = bytes_.data() + margin + ((storage.phase - base) & 63);
    set_guard<Number>(start_ - margin, margin + size_ + margin);
    forbid_outside();
  }
  ~Stored() { ASAN_UNPOISON_MEMORY_REGION(bytes_.data(), bytes_.size()); }
  Stored(const Stored&) = delete;
  Stored& operator=(const Stored&) = delete;

  Number* data() { return reinterpret_cast<Number*>(start_); }
  const Number* data() const { return reinterpret_cast<const Number*>(start_); }
  int ld() const { return ld_; }
  std::size_t size() const { return size_; }

  void fill(const Elements& from) {
    const std::size_t step = storage_.rows_contiguous ? from.column_step() : from.row_step();
    const std::size_t run_step = storage_.rows_contiguous ? from.row_step() : from.column_step();
    for (int j = 0; j < runs_; j++) {
      unsigned char* to = run(j);
      std::size_t at = static_cast<std::size_t>(j) * run_step;
      for (int i = 0; i < run_; i++, at += step, to += sizeof(Number)) {
        const Part<Number> re = static_cast<Part<Number>>(from.re()[at]);
        std::memcpy(to, &re, sizeof re);
        if constexpr (!is_real<Number>) {
          const double part = from.im()[at];
          const Part<Number> im = static_cast<Part<Number>>(storage_.conjugated ? -part : part);
          std::memcpy(to + sizeof re, &im, sizeof im);
        }
      }
    }
  }
  // Infinities between the signalling NaNs that every element holds at first.
  void fill_with_specials() {
    const Part<Number> infinity = std::numeric_limits<Part<Number>>::infinity();
    for (int j = 0; j < runs_; j++) {
      for (int i = j % 2; i < run_; i += 3) {
        std::memcpy(run(j) + static_cast<std::size_t>(i) * sizeof(Number), &infinity,
                    sizeof infinity);
      }
    }
  }
  // All elements, by columns.
  Elements read() const {
    Elements result(rows_, columns_, Elements::Order::by_columns, !is_real<Number>);
    for (int j = 0; j < columns_; j++) {
      for (int i = 0; i < rows_; i++) result.set(i, j, get(i, j));
    }
    return result;
  }
  void set(int i, int j, Value value) {
    const Number element = number_of<Number>(value);
    std::memcpy(element_at(i, j), &element, sizeof element);
  }
  Value get(int i, int j) const {
    Part<Number> found[2] = {};
    std::memcpy(found, element_at(i, j), sizeof(Number));
    return {found[0], storage_.conjugated ? -found[1] : found[1]};
  }

  bool same_bytes(const Stored& other) const {
    return size_ == other.size_ && std::memcmp(start_, other.start_, size_) == 0;
  }
  bool same_elements(const Stored& other) const {
    for (int j = 0; j < columns_; j++) {
      for (int i = 0; i < rows_; i++) {
        if (std::memcmp(element_at(i, j), other.element_at(i, j), sizeof(Number)) != 0)
          return false;
      }
    }
    return true;
  }
  // Nothing but the elements was written.
  bool intact() const {
    unsigned char guard[margin];
    set_guard<Number>(guard, margin);
    ASAN_UNPOISON_MEMORY_REGION(bytes_.data(), bytes_.size());
    bool result = std::memcmp(start_ - margin, guard, margin) == 0;
    if (std::memcmp(start_ + size_, guard, margin) != 0) result = false;
    for (int j = 0; j + 1 < runs_ && size_ != 0; j++) {
      const unsigned char* gap = run(j) + static_cast<std::size_t>(run_) * sizeof(Number);
      for (int i = run_; i < ld_; i++, gap += sizeof(Number)) {
        if (std::memcmp(gap, guard, sizeof(Number)) != 0) result = false;
      }
    }
    forbid_outside();
    return result;
  }

 private:
  static constexpr std::size_t margin = 64;

  void forbid_outside() const {
    ASAN_POISON_MEMORY_REGION(bytes_.data(), static_cast<std::size_t>(start_ - bytes_.data()));
    ASAN_POISON_MEMORY_REGION(
        start_ + size_, bytes_.size() - size_ - static_cast<std::size_t>(start_ - bytes_.data()));
  }
  unsigned char* run(int j) const {
    return start_ + static_cast<std::size_t>(j) * static_cast<std::size_t>(ld_) * sizeof(Number);
  }
  unsigned char* element_at(int i, int j) const {
    const int in_run = storage_.rows_contiguous ? j : i;
    return run(storage_.rows_contiguous ? i : j) +
           static_cast<std::size_t>(in_run) * sizeof(Number);
  }

  int rows_, columns_;
  int run_, runs_;  // elements that stand together, and how many times
  int ld_;
  Storage storage_;
  std::size_t size_;
  std::vector<unsigned char> bytes_;
  unsigned char* start_;
};

}  // namespace level3_test
