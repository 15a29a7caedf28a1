// Band systems for the tests: matrices of several kinds, what a factorisation leaves of the array,
// and how well the factors and solutions hold, all in long double.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <map>
#include <ostream>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/level2/operands.h"

namespace band_lu_test {

using level1_test::emulated;
using level1_test::instrumented;
using level2_test::narrow;
using level2_test::size;
using level2_test::Wide;
using level2_test::widen;
using Number = complex_double;

inline Wide operator-(Wide a, Wide b) { return {a.re - b.re, a.im - b.im}; }
inline long double modulus(Wide a) { return std::hypot(a.re, a.im); }
inline Wide quotient(Wide a, Wide b) {
  const long double square = b.re * b.re + b.im * b.im;
  return {(a.re * b.re + a.im * b.im) / square, (a.im * b.re - a.re * b.im) / square};
}

inline constexpr long double eps = DBL_EPSILON / 2.0L;
// LAPACK's threshold for its test ratios.
inline constexpr long double threshold = 30;

enum class Kind { random, graded, dominant, nearly_singular, equal_sizes };
inline constexpr Kind kinds[] = {Kind::random, Kind::graded, Kind::dominant, Kind::nearly_singular,
                                 Kind::equal_sizes};

struct Shape {
  int n, kl, ku;
  int pad = 0;  // ldab - (2 * kl + ku + 1)
  Kind kind = Kind::random;
  unsigned phase = 0;
  double scale = 1;  // of all elements

  int kv() const { return kl + ku; }
  int ldab() const { return 2 * kl + ku + 1 + pad; }
  bool has(int i, int j) const { return i - j <= kl && j - i <= ku; }
  std::size_t index(int i, int j) const {
    return static_cast<std::size_t>(j) * static_cast<std::size_t>(ldab()) +
           static_cast<std::size_t>(kv() + i - j);
  }
};

inline std::ostream& operator<<(std::ostream& out, const Shape& s) {
  return out << "order " << s.n << ", bands " << s.kl << " " << s.ku << ", ldab + " << s.pad
             << ", kind " << static_cast<int>(s.kind) << ", times " << s.scale;
}

// Uniform numbers between -1 and 1.
class Uniform {
 public:
  explicit Uniform(std::uint64_t seed) : state_(seed * 2654435769u + 12345) {}
  long double next() {
    state_ = state_ * 6364136223846793005ULL + 1442695040888963407ULL;
    return static_cast<long double>(static_cast<std::int64_t>(state_)) * 0x1p-63L;
  }

 private:
  std::uint64_t state_;
};

// A dense matrix of long doubles.
class Dense {
 public:
  Dense(int rows, int columns)
      : rows_(rows),
        elements_(static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns)) {}
  Wide& operator()(int i, int j) {
    return elements_[static_cast<std::size_t>(j) * static_cast<std::size_t>(rows_) +
                     static_cast<std::size_t>(i)];
  }

 private:
  int rows_;
  std::vector<Wide> elements_;
};

inline Wide element_of_kind(const Shape& s, int i, int j, Uniform& uniform) {
  const Wide x = {uniform.next(), uniform.next()};
  switch (s.kind) {
    case Kind::random:
      return x;
    case Kind::graded: {
      const long double grade = std::exp2l(static_cast<long double>((i * 7 + j * 3) % 61 - 30));
      return {x.re * grade, x.im * grade};
    }
    case Kind::dominant:
      return i == j ? Wide{x.re + 2 * (s.kl + s.ku + 1), x.im} : x;
    case Kind::nearly_singular: {
      // One column is tiny.
      const long double factor = j == s.n / 2 ? 0x1p-40L : 1;
      return {x.re * factor, x.im * factor};
    }
    case Kind::equal_sizes:
      // Many pivots to choose from: the first is taken.
      return {x.re > 0 ? 1.0L : -1.0L, x.im > 0 ? 2.0L : -2.0L};
  }
  return {};
}

// The array. Room for fill holds NaN; so does everything that is no element, which must stay.
class BandArray {
 public:
  BandArray(const Shape& shape, std::uint64_t seed = 1)
      : shape_(shape),
        elements_(static_cast<std::size_t>(shape.n) * static_cast<std::size_t>(shape.ldab()),
                  shape.phase) {
    Uniform uniform(seed);
    for (int j = 0; j < shape.n; j++) {
      for (int i = first_row(j, shape.ku); i < end_row(j); i++) {
        const Wide x = element_of_kind(shape, i, j, uniform);
        set(i, j, narrow<Number>({x.re * shape.scale, x.im * shape.scale}));
      }
    }
  }
  Number* data() { return elements_.data(); }
  Wide get(int i, int j) { return widen(elements_.get(shape_.index(i, j))); }
  void set(int i, int j, Number value) { elements_.set(shape_.index(i, j), value); }
  bool same_bits(BandArray& other) { return elements_.same_bits(other.elements_); }
  // The first row of column j that is stored, with that many diagonals above the main one.
  int first_row(int j, int diagonals) const { return std::max(0, j - diagonals); }
  int end_row(int j) const { return std::min(shape_.n, j + shape_.kl + 1); }

  // A's elements.
  Dense dense() {
    Dense a(shape_.n, shape_.n);
    for (int j = 0; j < shape_.n; j++) {
      for (int i = first_row(j, shape_.ku); i < end_row(j); i++) a(i, j) = get(i, j);
    }
    return a;
  }
  // The matrix that the factors are exact for: U, with all steps of the elimination undone.
  Dense product(const std::vector<int>& pivots) {
    const int n = shape_.n;
    Dense a(n, n);
    for (int j = 0; j < n; j++) {
      for (int i = first_row(j, shape_.kv()); i <= j; i++) a(i, j) = get(i, j);
    }
    for (int j = n - 1; j >= 0; j--) {
      const int end_column = std::min(n, j + shape_.kv() + 1);
      for (int c = j; c < end_column; c++) {
        for (int i = j + 1; i < end_row(j); i++) a(i, c) = a(i, c) + get(i, j) * a(j, c);
        std::swap(a(j, c), a(pivots[static_cast<std::size_t>(j)] - 1, c));
      }
    }
    return a;
  }
  // What is no element of A or of its factors is as it was.
  bool rest_is_kept() {
    std::vector<bool> is_element(elements_.count());
    for (int j = 0; j < shape_.n; j++) {
      for (int i = first_row(j, shape_.kv()); i < end_row(j); i++) {
        is_element[shape_.index(i, j)] = true;
      }
    }
    for (std::size_t i = 0; i < elements_.count(); i++) {
      if (!is_element[i] && !elements_.is_gap(i)) return false;
    }
    return elements_.intact();
  }

 private:
  Shape shape_;
  level2_test::Elements<Number> elements_;
};

// The greatest column sum of magnitudes.
inline long double norm(Dense& a, int rows, int columns) {
  long double result = 0;
  for (int j = 0; j < columns; j++) {
    long double sum = 0;
    for (int i = 0; i < rows; i++) sum += modulus(a(i, j));
    result = std::max(result, std::isnan(sum) ? HUGE_VALL : sum);
  }
  return result;
}

// ||A - P * L * U|| / (n * ||A|| * eps)
inline long double factor_ratio(const Shape& s, BandArray& before, BandArray& after,
                                const std::vector<int>& pivots) {
  Dense a = before.dense(), product = after.product(pivots), difference(s.n, s.n);
  for (int j = 0; j < s.n; j++) {
    for (int i = 0; i < s.n; i++) difference(i, j) = a(i, j) - product(i, j);
  }
  const long double size_of_a = norm(a, s.n, s.n);
  const long double size_of_difference = norm(difference, s.n, s.n);
  if (size_of_difference == 0) return 0;
  return size_of_difference / (s.n * size_of_a * eps);
}

// The elimination in long double, as it is written down, with a running bound of the errors that
// double precision makes (in units of eps): what each pivot is, and whether rounding could have
// decided otherwise.
struct Reference {
  std::vector<int> pivots;
  std::vector<bool> decided;
  int info = 0;

  explicit Reference(const Shape& s, BandArray& array) {
    Dense a = array.dense(), errors(s.n, s.n);
    const int n = s.n;
    const auto error = [&](int i, int j) -> long double& { return errors(i, j).re; };
    for (int j = 0; j < n; j++) {
      int best = j;
      const int end = array.end_row(j), end_column = std::min(n, j + s.kv() + 1);
      for (int i = j + 1; i < end; i++) {
        if (size(a(i, j)) > size(a(best, j))) best = i;
      }
      bool clear = true;
      for (int i = j; i < end; i++) {
        const long double gap = size(a(best, j)) - size(a(i, j));
        const long double doubt = 8 * eps * (error(best, j) + error(i, j));
        // Without errors equal sizes are decided, too: the first is taken.
        if (i != best && doubt > 0 && gap <= doubt) clear = false;
      }
      pivots.push_back(best + 1);
      decided.push_back(clear);
      if (size(a(best, j)) == 0) {
        if (info == 0) info = j + 1;
        continue;
      }
      for (int c = j; c < end_column; c++) {
        std::swap(a(j, c), a(best, c));
        std::swap(error(j, c), error(best, c));
      }
      for (int i = j + 1; i < end; i++) {
        const long double pivot = size(a(j, j)) / 2;
        const Wide l = quotient(a(i, j), a(j, j));
        const long double size_of_l = size(l);
        const long double error_of_l = error(i, j) / pivot + size_of_l * (error(j, j) / pivot + 8);
        for (int c = j + 1; c < end_column; c++) {
          const Wide u = a(j, c);
          a(i, c) = a(i, c) - l * u;
          error(i, c) +=
              size_of_l * error(j, c) + (error_of_l + 4 * size_of_l) * size(u) + 2 * size(a(i, c));
        }
      }
    }
  }
  // Pivots are compared as long as all before them were decided.
  bool same_pivots(const std::vector<int>& found) const {
    for (std::size_t j = 0; j < pivots.size() && decided[j]; j++) {
      if (found[j] != pivots[j]) return false;
    }
    return true;
  }
};

// The reference for a matrix of one kind. It is the same for all levels.
inline const Reference& reference_for(const Shape& s, BandArray& array) {
  static std::map<std::tuple<int, int, int, Kind, double>, Reference> known;
  const auto key = std::tuple(s.n, s.kl, s.ku, s.kind, s.scale);
  auto at = known.find(key);
  if (at == known.end()) at = known.emplace(key, Reference(s, array)).first;
  return at->second;
}

// Right-hand sides, with room between them.
class RightSides {
 public:
  RightSides(int n, int nrhs, int ldb, std::uint64_t seed)
      : n_(n),
        nrhs_(nrhs),
        ldb_(ldb),
        elements_(nrhs == 0 ? 0
                            : static_cast<std::size_t>(nrhs - 1) * static_cast<std::size_t>(ldb) +
                                  static_cast<std::size_t>(n),
                  8) {
    Uniform uniform(seed);
    for (int c = 0; c < nrhs; c++) {
      for (int i = 0; i < n; i++) {
        const long double re = uniform.next();
        elements_.set(index(i, c), narrow<Number>({re, uniform.next()}));
      }
    }
  }
  Number* data() { return elements_.data(); }
  int ldb() const { return ldb_; }
  Wide get(int i, int c) { return widen(elements_.get(index(i, c))); }
  bool same_bits(RightSides& other) { return elements_.same_bits(other.elements_); }
  bool rest_is_kept() {
    for (int c = 0; c + 1 < nrhs_; c++) {
      for (int i = n_; i < ldb_; i++) {
        if (!elements_.is_gap(index(i, c))) return false;
      }
    }
    return elements_.intact();
  }

 private:
  std::size_t index(int i, int c) const {
    return static_cast<std::size_t>(c) * static_cast<std::size_t>(ldb_) +
           static_cast<std::size_t>(i);
  }
  int n_, nrhs_, ldb_;
  level2_test::Elements<Number> elements_;
};

// max over the right-hand sides of ||A * x - b|| / (n * ||A|| * ||x|| * eps)
inline long double residual_ratio(const Shape& s, BandArray& a, RightSides& b, RightSides& x,
                                  int nrhs) {
  Dense dense = a.dense();
  const long double size_of_a = norm(dense, s.n, s.n);
  long double result = 0;
  for (int c = 0; c < nrhs; c++) {
    long double size_of_x = 0, size_of_residual = 0;
    for (int i = 0; i < s.n; i++) {
      Wide sum = {-b.get(i, c).re, -b.get(i, c).im};
      for (int j = std::max(0, i - s.kl); j < std::min(s.n, i + s.ku + 1); j++) {
        sum = sum + dense(i, j) * x.get(j, c);
      }
      size_of_x += modulus(x.get(i, c));
      size_of_residual += modulus(sum);
    }
    if (size_of_residual == 0) continue;
    const long double ratio = size_of_residual / (s.n * size_of_a * size_of_x * eps);
    result = std::max(result, std::isnan(ratio) ? HUGE_VALL : ratio);
  }
  return result;
}

// Factors and solves with `solver(n, kl, ku, nrhs, ab, ldab, ipiv, b, ldb)`, which answers info,
// and holds everything against the reference.
template <class Solver>
void check(const Solver& solver, const Shape& s, int nrhs = 1, int ldb_pad = 0) {
  BandArray before(s), after(s);
  RightSides b(s.n, nrhs, s.n + ldb_pad, 2), x(s.n, nrhs, s.n + ldb_pad, 2);
  std::vector<int> pivots(static_cast<std::size_t>(s.n), -1);
  const int info =
      solver(s.n, s.kl, s.ku, nrhs, after.data(), s.ldab(), pivots.data(), x.data(), s.n + ldb_pad);
  for (int j = 0; j < s.n; j++) {
    const int pivot = pivots[static_cast<std::size_t>(j)];
    ASSERT_TRUE(pivot > j && pivot <= after.end_row(j)) << s << ": pivot " << j;
  }
  ASSERT_TRUE(after.rest_is_kept() && x.rest_is_kept()) << s;
  const Reference& reference = reference_for(s, before);
  ASSERT_EQ(info, reference.info) << s;
  ASSERT_TRUE(reference.same_pivots(pivots)) << s;
  ASSERT_LT(factor_ratio(s, before, after, pivots), threshold) << s;
  if (info != 0) {
    ASSERT_TRUE(x.same_bits(b)) << s;
  } else {
    ASSERT_LT(residual_ratio(s, before, b, x, nrhs), threshold) << s;
  }
}

// Every small shape, and the neighbourhood of the blocks of rows and columns.
template <class Solver>
void check_shapes(const Solver& solver) {
  for (int n = 1; n <= (emulated() || instrumented ? 6 : 11); n++) {
    for (const int kl : {0, 1, 2, 3, 5, 12}) {
      for (const int ku : {0, 1, 2, 4, 13}) {
        for (const Kind kind : kinds) {
          ASSERT_NO_FATAL_FAILURE(
              check(solver, {n, kl, ku, (n + kl) % 3, kind, 4u * (n % 8)}, n % 4, n % 2));
        }
      }
    }
  }
  if (emulated()) return;
  for (int width = 1; width < 40; width += instrumented ? 9 : 3) {
    for (const Kind kind : kinds) {
      ASSERT_NO_FATAL_FAILURE(check(solver, {50, width, 6, 0, kind}, 1));
      ASSERT_NO_FATAL_FAILURE(check(solver, {50, 5, width, 1, kind}, 2));
    }
  }
  // The rows of a step in one piece or in several; columns of a solve.
  for (const int n : {63, 65, 107, 109, 110, 130}) {
    ASSERT_NO_FATAL_FAILURE(check(solver, {n, 6, 5}, 3, 1));
    ASSERT_NO_FATAL_FAILURE(check(solver, {n, n, 2}, 1));
  }
  for (const Kind kind : kinds) {
    ASSERT_NO_FATAL_FAILURE(check(solver, {140, 110, 3, 0, kind}, 1));
  }
}

// Shapes that are factored in blocks.
inline std::vector<Shape> blocked_shapes() {
  std::vector<Shape> shapes = {{140, 100, 90}, {330, 40, 300, 1}, {121, 300, 1}};
  if (!emulated()) {
    shapes.insert(shapes.end(), {{260, 80, 80}, {240, 119, 2, 3}, {400, 33, 390}});
  }
  return shapes;
}

}  // namespace band_lu_test
