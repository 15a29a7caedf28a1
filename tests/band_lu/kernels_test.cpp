// The factorisation of band matrices and the solve with the factors, by every variant that this
// processor supports.
#include <cstring>
#include <limits>
#include <tuple>

#include "lapack/band/blocking.h"
#include "tests/band_lu/variants.h"
#include "tests/level1/guard_pages.h"

namespace band_lu_test {
namespace {

using level1_test::GuardPages;

constexpr double quiet_nan = std::numeric_limits<double>::quiet_NaN();

TEST_P(BandLuKernels, EveryShape) { ASSERT_NO_FATAL_FAILURE(check_shapes(Direct{GetParam()})); }

TEST_P(BandLuKernels, InBlocksAndWithout) {
  for (const Shape& blocked : blocked_shapes()) {
    for (const Kind kind : kinds) {
      Shape shape = blocked;
      shape.kind = kind;
      ASSERT_NO_FATAL_FAILURE(check(Direct{GetParam(), true}, shape, 2, 1));
      if (kind == Kind::random) {
        ASSERT_NO_FATAL_FAILURE(check(Direct{GetParam(), false}, shape, 1));
      }
    }
  }
}

// Columns of zeros, also where a block begins or ends: the first is told, the factorisation goes
// on, and b is left alone.
TEST_P(BandLuKernels, ZeroPivots) {
  for (const Shape& shape : {Shape{9, 2, 1}, {9, 0, 2}, {40, 12, 5}, {140, 100, 90}}) {
    for (int at = 0; at < shape.n; at += shape.n < 20 ? 1 : 11) {
      BandArray before(shape), after(shape);
      for (BandArray* array : {&before, &after}) {
        for (const int j : {at, shape.n - 1}) {
          for (int i = array->first_row(j, shape.ku); i < array->end_row(j); i++) {
            array->set(i, j, {0, -0.0});
          }
        }
      }
      RightSides b(shape.n, 2, shape.n, 3), x(shape.n, 2, shape.n, 3);
      std::vector<int> pivots(static_cast<std::size_t>(shape.n));
      const int info = Direct{GetParam()}(shape.n, shape.kl, shape.ku, 2, after.data(),
                                          shape.ldab(), pivots.data(), x.data(), shape.n);
      ASSERT_EQ(info, at + 1) << shape;
      ASSERT_EQ(info, Reference(shape, before).info) << shape;
      ASSERT_LT(factor_ratio(shape, before, after, pivots), threshold) << shape;
      ASSERT_TRUE(after.rest_is_kept() && x.same_bits(b)) << shape;
    }
  }
}

TEST_P(BandLuKernels, AMatrixOfZeros) {
  const Shape shape = {7, 2, 1};
  BandArray array(shape);
  for (int j = 0; j < 7; j++) {
    for (int i = array.first_row(j, 1); i < array.end_row(j); i++) array.set(i, j, {0, 0});
  }
  int pivots[7];
  EXPECT_EQ(GetParam().zgbtrf(7, 2, 1, array.data(), shape.ldab(), pivots, nullptr), 1);
  for (int j = 0; j < 7; j++) {
    EXPECT_EQ(pivots[j], j + 1);
    for (int i = array.first_row(j, 3); i < array.end_row(j); i++) {
      EXPECT_EQ(size(array.get(i, j)), 0) << "fill is cleared: " << i << " " << j;
    }
  }
}

// A matrix whose squares overflow or vanish is factored as well as any: a power of two as a factor
// changes neither pivots nor multipliers.
TEST_P(BandLuKernels, HugeAndTinyMatrices) {
  for (const Shape& shape : {Shape{30, 3, 2}, {30, 0, 4}, {140, 100, 90}, {150, 130, 1}}) {
    BandArray plain(shape), plain_before(shape);
    RightSides b(shape.n, 1, shape.n, 5), x(shape.n, 1, shape.n, 5);
    std::vector<int> pivots(static_cast<std::size_t>(shape.n));
    ASSERT_EQ(Direct{GetParam()}(shape.n, shape.kl, shape.ku, 1, plain.data(), shape.ldab(),
                                 pivots.data(), x.data(), shape.n),
              0);
    for (const int exponent : {1010, 600, -600, -900}) {
      BandArray scaled(shape);
      const double scale = std::ldexp(1.0, exponent);
      for (int j = 0; j < shape.n; j++) {
        for (int i = scaled.first_row(j, shape.ku); i < scaled.end_row(j); i++) {
          const Wide a = plain_before.get(i, j);
          scaled.set(i, j, {static_cast<double>(a.re) * scale, static_cast<double>(a.im) * scale});
        }
      }
      std::vector<int> scaled_pivots(static_cast<std::size_t>(shape.n));
      RightSides y(shape.n, 1, shape.n, 5);
      ASSERT_EQ(Direct{GetParam()}(shape.n, shape.kl, shape.ku, 1, scaled.data(), shape.ldab(),
                                   scaled_pivots.data(), y.data(), shape.n),
                0);
      ASSERT_EQ(scaled_pivots, pivots) << shape << ", 2^" << exponent;
      for (int j = 0; j < shape.n; j++) {
        for (int i = scaled.first_row(j, shape.kv()); i < scaled.end_row(j); i++) {
          const Wide found = scaled.get(i, j), expected = plain.get(i, j);
          const long double factor = i <= j ? std::ldexp(1.0L, exponent) : 1;
          ASSERT_EQ(found.re, expected.re * factor) << shape << ", 2^" << exponent;
          ASSERT_EQ(found.im, expected.im * factor) << shape << ", 2^" << exponent;
        }
      }
      // 2^-exponent * x, but for what underflows.
      for (int i = 0; i < shape.n; i++) {
        const Wide found = y.get(i, 0), expected = x.get(i, 0);
        const long double bound =
            1e-12L * modulus(expected) * std::ldexp(1.0L, -exponent) + 0x1p-1060L;
        ASSERT_LE(modulus({found.re - std::ldexp(expected.re, -exponent),
                           found.im - std::ldexp(expected.im, -exponent)}),
                  bound)
            << shape << ", 2^" << exponent;
      }
    }
  }
}

// Pivots below the normal numbers.
TEST_P(BandLuKernels, DenormalPivots) {
  const Shape shape = {2, 1, 0};
  BandArray array(shape);
  array.set(0, 0, {0x1p-1060, 0});
  array.set(1, 0, {0, 0x1p-1070});
  array.set(1, 1, {3, 4});
  int pivots[2];
  Number b[2] = {{0x1p-1061, 0}, {7, 1}};
  ASSERT_EQ(Direct{GetParam()}(2, 1, 0, 1, array.data(), shape.ldab(), pivots, b, 2), 0);
  EXPECT_EQ(array.get(1, 0).im, 0x1p-10L);
  EXPECT_EQ(b[0].real, 0.5);
}

TEST_P(BandLuKernels, ANanStopsNothing) {
  for (const Shape& shape : {Shape{40, 5, 4}, {140, 100, 90}}) {
    for (const int at : {0, 7, shape.n - 1}) {
      BandArray array(shape);
      array.set(at, at, {quiet_nan, 1});
      RightSides x(shape.n, 1, shape.n, 1);
      std::vector<int> pivots(static_cast<std::size_t>(shape.n));
      const int info = Direct{GetParam()}(shape.n, shape.kl, shape.ku, 1, array.data(),
                                          shape.ldab(), pivots.data(), x.data(), shape.n);
      ASSERT_EQ(info, 0) << shape << ", NaN at " << at;
      for (int j = 0; j < shape.n; j++) {
        const int pivot = pivots[static_cast<std::size_t>(j)];
        ASSERT_TRUE(pivot > j && pivot <= array.end_row(j)) << shape;
      }
      ASSERT_TRUE(array.rest_is_kept() && x.rest_is_kept());
    }
  }
}

// A NaN on the diagonal is the pivot there, and no zero: info is that of the first zero after it,
// or none. A column that is NaN or zero leaves the later ones of a triangular matrix alone.
TEST_P(BandLuKernels, ANanPivotIsNoZero) {
  for (const Number nan :
       {Number{quiet_nan, 0}, {0, quiet_nan}, {quiet_nan, quiet_nan}, {-quiet_nan, -0.0}}) {
    for (Shape shape : {Shape{9, 0, 2}, {40, 0, 5}}) {
      for (const int nan_at : {0, 3, shape.n - 1}) {
        for (const int zero_at : {-1, 1, 5}) {
          BandArray array(shape);
          array.set(nan_at, nan_at, nan);
          if (zero_at >= 0) array.set(zero_at, zero_at, {0, 0});
          std::vector<int> pivots(static_cast<std::size_t>(shape.n));
          ASSERT_EQ(GetParam().zgbtrf(shape.n, shape.kl, shape.ku, array.data(), shape.ldab(),
                                      pivots.data(), nullptr),
                    zero_at + 1)
              << shape << ", NaN at " << nan_at;
        }
      }
    }
    for (Shape shape : {Shape{40, 5, 4}, {60, 40, 3}, {140, 100, 90}}) {
      for (const int nan_at : {0, 23, 24, shape.n - 1}) {
        shape.kind = Kind::dominant;
        BandArray array(shape);
        array.set(nan_at, nan_at, nan);
        RightSides x(shape.n, 1, shape.n, 1);
        std::vector<int> pivots(static_cast<std::size_t>(shape.n));
        ASSERT_EQ(Direct{GetParam()}(shape.n, shape.kl, shape.ku, 1, array.data(), shape.ldab(),
                                     pivots.data(), x.data(), shape.n),
                  0)
            << shape << ", NaN at " << nan_at;
        for (int j = 0; j <= nan_at; j++) {
          ASSERT_EQ(pivots[static_cast<std::size_t>(j)], j + 1) << shape << ", NaN at " << nan_at;
        }
      }
    }
  }
}

// The bits of a result do not depend on where the arrays lie, nor on what lies between the columns.
TEST_P(BandLuKernels, BitsDoNotDependOnAddresses) {
  for (const Shape& plain : {Shape{40, 5, 4}, {50, 9, 12}, {140, 100, 90}}) {
    BandArray expected(plain);
    RightSides expected_x(plain.n, 1, plain.n, 1);
    std::vector<int> pivots(static_cast<std::size_t>(plain.n));
    const auto run = [&](const Shape& s, BandArray& array, RightSides& x) {
      ASSERT_EQ(Direct{GetParam()}(s.n, s.kl, s.ku, 1, array.data(), s.ldab(), pivots.data(),
                                   x.data(), s.n),
                0);
    };
    ASSERT_NO_FATAL_FAILURE(run(plain, expected, expected_x));
    for (unsigned phase = 4; phase<64; phase += plain.n> 100 ? 20 : 4) {
      Shape shape = plain;
      shape.phase = phase;
      shape.pad = static_cast<int>(phase % 3);
      BandArray found(shape);
      RightSides x(plain.n, 1, plain.n, 1);
      ASSERT_NO_FATAL_FAILURE(run(shape, found, x));
      ASSERT_TRUE(x.same_bits(expected_x)) << shape;
    }
  }
}

// Arrays between unmapped pages, each at the start or at the end of its own. One byte outside the
// first and the last element ends the test.
class GuardedSystem {
 public:
  explicit GuardedSystem(const Shape& shape)
      : shape_(shape),
        array_(shape),
        right_(shape.n, 1, shape.n, 2),
        first_(shape.index(0, 0)),
        ab_bytes_((shape.index(shape.n - 1, shape.n - 1) + 1 - first_) * sizeof(Number)),
        b_bytes_(static_cast<std::size_t>(shape.n) * sizeof(Number)),
        pivot_bytes_(static_cast<std::size_t>(shape.n) * sizeof(int)),
        work_bytes_(static_cast<std::size_t>(
                        qsl::lapack::gbtrf_work_elements(shape.n, shape.kl, shape.ku)) *
                    sizeof(Number)),
        ab_pages_(ab_bytes_ + 4),
        b_pages_(b_bytes_ + 4),
        pivot_pages_(pivot_bytes_),
        work_pages_(work_bytes_ + 4) {
    // The lowest row of each column becomes the pivot: the fill is as wide as it can be, and of the
    // work area everything is used.
    for (int j = 0; j + shape.kl < shape.n; j++) array_.set(j + shape.kl, j, {0, 50});
  }

  // In blocks where the shape has them.
  void solve(const Variant& variant, bool at_end) {
    const auto place = [at_end](GuardPages& pages, std::size_t bytes, std::size_t slack) {
      return at_end ? pages.at_end(bytes, slack) : pages.at_start(slack);
    };
    auto* ab = static_cast<Number*>(place(ab_pages_, ab_bytes_, 4));
    auto* b = static_cast<Number*>(place(b_pages_, b_bytes_, 0));
    auto* pivots = static_cast<int*>(place(pivot_pages_, pivot_bytes_, 0));
    auto* work = static_cast<Number*>(place(work_pages_, work_bytes_, 0));
    std::memcpy(static_cast<void*>(ab), array_.data() + first_, ab_bytes_);
    std::memcpy(static_cast<void*>(b), right_.data(), b_bytes_);
    const auto& [n, kl, ku] = std::tuple(shape_.n, shape_.kl, shape_.ku);
    ASSERT_EQ(variant.zgbtrf(n, kl, ku, ab - first_, shape_.ldab(), pivots,
                             work_bytes_ > 0 ? work : nullptr),
              0)
        << shape_;
    variant.zgbtrs(n, kl, ku, 1, ab - first_, shape_.ldab(), pivots, b, n);
  }

 private:
  Shape shape_;
  BandArray array_;
  RightSides right_;
  std::size_t first_, ab_bytes_, b_bytes_, pivot_bytes_, work_bytes_;
  GuardPages ab_pages_, b_pages_, pivot_pages_, work_pages_;
};

TEST_P(BandLuKernels, StaysInsideTheArrays) {
  const auto expect = [](const Shape& shape) {
    GuardedSystem system(shape);
    for (const bool at_end : {false, true}) {
      ASSERT_NO_FATAL_FAILURE(system.solve(GetParam(), at_end));
    }
  };
  for (const int n : {1, 2, 3, 5, 8, 13, 20, 33}) {
    for (const int kl : {0, 1, 2, 5, 9, 40}) {
      for (const int ku : {0, 1, 3, 6, 25}) ASSERT_NO_FATAL_FAILURE(expect({n, kl, ku}));
    }
  }
  // One block and many, the last one short or whole; bands within the matrix and beyond it.
  for (const Shape& shape : blocked_shapes()) ASSERT_NO_FATAL_FAILURE(expect(shape));
  for (const int n : {119, 120, 121, 143, 144, 145}) {
    ASSERT_GT(qsl::lapack::gbtrf_work_elements(n, 110, 7), 0u);
    ASSERT_NO_FATAL_FAILURE(expect({n, 110, 7, n % 2}));
    ASSERT_NO_FATAL_FAILURE(expect({n, n, n}));
  }
}

INSTANTIATE_TEST_SUITE_P(Levels, BandLuKernels, testing::ValuesIn(all_variants()), name_of);

}  // namespace
}  // namespace band_lu_test
