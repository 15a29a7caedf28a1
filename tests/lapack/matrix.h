// Matrices of the solvers' tests: by their elements, and as they lie in memory for a call.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "tests/lapack/numbers.h"
#include "tests/level1/arrays.h"

namespace lapack_test {

// Elements by columns.
template <class Number>
class Matrix {
 public:
  Matrix(int rows, int columns)
      : rows_(rows),
        columns_(columns),
        elements_(static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns),
                  number<Number>(0)) {}

  int rows() const { return rows_; }
  int columns() const { return columns_; }
  Number* column(int j) {
    return elements_.data() + static_cast<std::size_t>(j) * static_cast<std::size_t>(rows_);
  }
  const Number* column(int j) const { return const_cast<Matrix*>(this)->column(j); }
  Number& operator()(int i, int j) { return column(j)[i]; }
  const Number& operator()(int i, int j) const { return column(j)[i]; }
  Number* data() { return elements_.data(); }
  const Number* data() const { return elements_.data(); }

  template <class Make>
  void fill_with(const Make& make) {
    for (Number& element : elements_) element = make();
  }
  void exchange_rows(int i, int other) {
    for (int j = 0; i != other && j < columns_; j++) std::swap((*this)(i, j), (*this)(other, j));
  }

 private:
  int rows_, columns_;
  std::vector<Number> elements_;
};

template <class Number>
Matrix<Number> random_matrix(int rows, int columns, unsigned seed) {
  Matrix<Number> result(rows, columns);
  Random random(seed);
  result.fill_with([&] { return random.next<Number>(); });
  return result;
}

inline double scaled(double x, double by) { return x * by; }
inline complex_double scaled(complex_double x, double by) { return {x.real * by, x.imag * by}; }
template <class Number>
void scale_by(Matrix<Number>& a, double by) {
  for (int j = 0; j < a.columns(); j++) {
    for (int i = 0; i < a.rows(); i++) a(i, j) = scaled(a(i, j), by);
  }
}

// Runs of columns or rows with `pad` elements between them, at an address that is `phase`
// modulo 64.
struct Storage {
  bool by_rows = false;
  int pad = 0;
  unsigned phase = 0;
};

// A call's operand: signalling NaNs between the runs and around.
template <class Number>
class Stored {
 public:
  Stored(int rows, int columns, const Storage& storage)
      : rows_(rows),
        columns_(columns),
        storage_(storage),
        ld_(std::max(storage.by_rows ? columns : rows, 1) + storage.pad),
        array_(extent() * parts<Number>, storage.phase) {
    for (std::size_t i = 0; i < extent() * parts<Number>; i++) {
      std::memcpy(bytes() + i * sizeof(double), gap, sizeof gap);
    }
  }
  explicit Stored(const Matrix<Number>& matrix, const Storage& storage = {})
      : Stored(matrix.rows(), matrix.columns(), storage) {
    for (int j = 0; j < columns_; j++) {
      for (int i = 0; i < rows_; i++) set(i, j, matrix(i, j));
    }
  }

  Number* data() { return array_.template as<Number>(); }
  int ld() const { return ld_; }
  void set(int i, int j, const Number& value) { std::memcpy(at(i, j), &value, sizeof value); }
  Matrix<Number> elements() {
    Matrix<Number> result(rows_, columns_);
    for (int j = 0; j < columns_; j++) {
      for (int i = 0; i < rows_; i++) std::memcpy(&result(i, j), at(i, j), sizeof(Number));
    }
    return result;
  }
  // Nothing but the elements was written.
  bool intact() {
    std::vector<bool> is_element(extent());
    for (int j = 0; j < columns_; j++) {
      for (int i = 0; i < rows_; i++) is_element[index(i, j)] = true;
    }
    for (std::size_t i = 0; i < extent(); i++) {
      if (is_element[i]) continue;
      for (int part = 0; part < parts<Number>; part++) {
        const auto double_at = (i * parts<Number> + static_cast<std::size_t>(part));
        if (std::memcmp(bytes() + double_at * sizeof(double), gap, sizeof gap) != 0) return false;
      }
    }
    return array_.intact();
  }
  bool same_bytes(const Stored& other) const { return array_.same_contents(other.array_); }

 private:
  static constexpr std::uint32_t gap[2] = {0xdeadbeef, 0x7ff4dead};

  std::size_t extent() const {
    if (rows_ == 0 || columns_ == 0) return 0;
    const int run = storage_.by_rows ? columns_ : rows_, runs = storage_.by_rows ? rows_ : columns_;
    return static_cast<std::size_t>(runs - 1) * static_cast<std::size_t>(ld_) +
           static_cast<std::size_t>(run);
  }
  std::size_t index(int i, int j) const {
    if (storage_.by_rows) std::swap(i, j);
    return static_cast<std::size_t>(i) +
           static_cast<std::size_t>(j) * static_cast<std::size_t>(ld_);
  }
  unsigned char* bytes() { return array_.template as<unsigned char>(); }
  unsigned char* at(int i, int j) { return bytes() + index(i, j) * sizeof(Number); }

  int rows_, columns_;
  Storage storage_;
  int ld_;
  level1_test::GuardedArray array_;
};

// The pivots of a call, with numbers behind them that nobody may write.
class Pivots {
 public:
  explicit Pivots(int count)
      : count_(count), all_(static_cast<std::size_t>(count) + 4, unwritten) {}

  int* data() { return all_.data(); }
  std::vector<int> values() const { return {all_.begin(), all_.begin() + count_}; }
  bool intact() const {
    return std::all_of(all_.begin() + count_, all_.end(), [](int p) { return p == unwritten; });
  }
  bool untouched() const {
    return std::all_of(all_.begin(), all_.end(), [](int p) { return p == unwritten; });
  }

 private:
  static constexpr int unwritten = 0x5eadbeef;
  int count_;
  std::vector<int> all_;
};

}  // namespace lapack_test
