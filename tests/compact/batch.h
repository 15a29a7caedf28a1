// Batches of matrices, and a model of the compact format that knows nothing of the library's code.
#pragma once

#include <complex>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "qsl/qsl.h"
#include "tests/level1/guard_pages.h"

namespace compact_test {

using Complex = std::complex<double>;

inline constexpr int formats[] = {QSL_COMPACT_SSE, QSL_COMPACT_AVX, QSL_COMPACT_AVX512};
inline constexpr int layouts[] = {CblasColMajor, CblasRowMajor};

// Fewer shapes where an emulator runs them.
inline bool few_shapes() { return std::getenv("QSL_TEST_EMULATED") != nullptr; }

// Matrices of a group; a format that does not exist has groups of one.
inline int group_size(int format) {
  switch (format) {
    case QSL_COMPACT_SSE:
      return 2;
    case QSL_COMPACT_AVX:
      return 4;
    case QSL_COMPACT_AVX512:
      return 8;
    default:
      return 1;
  }
}

// The format that is native to the processor type of this run.
inline int native_format() {
  const char* type = std::getenv("QSL_DEBUG_CPU_TYPE");
  if (type == nullptr) return qsl_get_format_compact();
  const int number = std::atoi(type);
  if (number == 9) return QSL_COMPACT_AVX512;
  return number >= 6 ? QSL_COMPACT_AVX : QSL_COMPACT_SSE;
}

// One matrix by its elements.
class Matrix {
 public:
  Matrix(int rows, int columns)
      : rows_(rows), columns_(columns), elements_(static_cast<std::size_t>(rows) * columns) {}

  int rows() const { return rows_; }
  int columns() const { return columns_; }
  Complex& operator()(int i, int j) { return elements_[place(i, j)]; }
  const Complex& operator()(int i, int j) const { return elements_[place(i, j)]; }

 private:
  std::size_t place(int i, int j) const { return static_cast<std::size_t>(j) * rows_ + i; }

  int rows_, columns_;
  std::vector<Complex> elements_;
};

using Batch = std::vector<Matrix>;

// Elements of both signs and different size.
inline Batch random_batch(int nm, int rows, int columns, unsigned seed) {
  std::mt19937 numbers(seed);
  std::uniform_real_distribution<double> part(-2, 2);
  Batch batch(static_cast<std::size_t>(nm), Matrix(rows, columns));
  for (Matrix& matrix : batch) {
    for (int j = 0; j < columns; ++j) {
      for (int i = 0; i < rows; ++i) matrix(i, j) = {part(numbers), part(numbers)};
    }
  }
  return batch;
}

// What no routine may touch: a signalling NaN with a payload of its own.
inline constexpr std::uint64_t guard = 0x7ff4dead0badf00dull;

// The number of elements in memory, or of numbers, that a matrix takes by its storage.
inline std::size_t extent(int layout, int rows, int columns, int ld) {
  const int run = layout == CblasColMajor ? rows : columns;
  const int runs = layout == CblasColMajor ? columns : rows;
  if (run <= 0 || runs <= 0) return 0;
  return static_cast<std::size_t>(runs - 1) * ld + run;
}
inline std::size_t place(int layout, int i, int j, int ld) {
  return layout == CblasColMajor ? static_cast<std::size_t>(j) * ld + i
                                 : static_cast<std::size_t>(i) * ld + j;
}

// A shape of compact storage.
struct Shape {
  int layout, rows, columns, ld, format, nm;

  int group() const { return group_size(format); }
  int groups() const { return nm <= 0 ? 0 : (nm + group() - 1) / group(); }
  // From group to group, in elements.
  std::size_t stride() const {
    return static_cast<std::size_t>(layout == CblasColMajor ? columns : rows) * ld;
  }
  // Doubles up to the last element of the last group.
  std::size_t doubles() const {
    if (groups() == 0) return 0;
    return ((groups() - 1) * stride() + extent(layout, rows, columns, ld)) * 2 * group();
  }
  // The real part of an element of a lane; the imaginary one is group() further on.
  std::size_t real_at(int lane, int i, int j) const {
    return (lane / group() * stride() + place(layout, i, j, ld)) * 2 * group() + lane % group();
  }
  std::string text() const {
    return "layout " + std::to_string(layout) + ", " + std::to_string(rows) + " by " +
           std::to_string(columns) + ", ld " + std::to_string(ld) + ", format " +
           std::to_string(format) + ", nm " + std::to_string(nm);
  }
};

// A compact buffer between unmapped pages, at its start or its end, with guards in the gaps.
class Buffer {
 public:
  enum class Edge { start, end };

  Buffer(const Shape& shape, Edge edge, std::size_t slack = 0)
      : shape_(shape),
        count_(shape.doubles()),
        pages_(std::make_unique<level1_test::GuardPages>(count_ * 8 + slack + 64)),
        bytes_(static_cast<unsigned char*>(
            edge == Edge::start ? pages_->at_start(slack) : pages_->at_end(count_ * 8, slack))) {
    for (std::size_t k = 0; k < count_; ++k) set_bits(k, guard);
  }

  double* data() { return reinterpret_cast<double*>(bytes_); }
  const Shape& shape() const { return shape_; }
  std::size_t count() const { return count_; }

  std::uint64_t bits(std::size_t k) const {
    std::uint64_t word;
    std::memcpy(&word, bytes_ + 8 * k, 8);
    return word;
  }
  void set_bits(std::size_t k, std::uint64_t word) { std::memcpy(bytes_ + 8 * k, &word, 8); }
  double number(std::size_t k) const {
    double value;
    std::memcpy(&value, bytes_ + 8 * k, 8);
    return value;
  }
  void set_number(std::size_t k, double value) { std::memcpy(bytes_ + 8 * k, &value, 8); }

  Complex get(int lane, int i, int j) const {
    const std::size_t at = shape_.real_at(lane, i, j);
    return {number(at), number(at + shape_.group())};
  }
  void set(int lane, int i, int j, Complex value) {
    const std::size_t at = shape_.real_at(lane, i, j);
    set_number(at, value.real());
    set_number(at + shape_.group(), value.imag());
  }
  // All lanes, those without a matrix with zeros.
  void fill(const Batch& batch) {
    for (int lane = 0; lane < shape_.groups() * shape_.group(); ++lane) {
      for (int j = 0; j < shape_.columns; ++j) {
        for (int i = 0; i < shape_.rows; ++i) {
          set(lane, i, j, lane < shape_.nm ? batch[lane](i, j) : Complex());
        }
      }
    }
  }
  Matrix read(int lane) const {
    Matrix result(shape_.rows, shape_.columns);
    for (int j = 0; j < shape_.columns; ++j) {
      for (int i = 0; i < shape_.rows; ++i) result(i, j) = get(lane, i, j);
    }
    return result;
  }
  std::vector<unsigned char> copy() const { return {bytes_, bytes_ + 8 * count_}; }

  // Every double that belongs to no element of a group still holds its guard.
  bool gaps_are_intact() const {
    std::vector<bool> used(count_, false);
    for (int lane = 0; lane < shape_.groups() * shape_.group(); ++lane) {
      for (int j = 0; j < shape_.columns; ++j) {
        for (int i = 0; i < shape_.rows; ++i) {
          used[shape_.real_at(lane, i, j)] = true;
          used[shape_.real_at(lane, i, j) + shape_.group()] = true;
        }
      }
    }
    for (std::size_t k = 0; k < count_; ++k) {
      if (!used[k] && bits(k) != guard) return false;
    }
    return true;
  }

 private:
  Shape shape_;
  std::size_t count_;
  std::unique_ptr<level1_test::GuardPages> pages_;
  unsigned char* bytes_;
};

}  // namespace compact_test
