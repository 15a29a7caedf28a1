// The factorisation without pivoting, of each matrix by itself.
#include "tests/compact/batch.h"

namespace compact_test {
namespace {

constexpr double kEpsilon = std::numeric_limits<double>::epsilon();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

// A buffer after the factorisation of a batch.
Buffer factored(const Shape& shape, const Batch& batch, Buffer::Edge edge = Buffer::Edge::end) {
  Buffer buffer(shape, edge, shape.nm % 2 * 4);
  buffer.fill(batch);
  int info = 77;
  qsl_zgetrfnp_compact(shape.layout, shape.rows, shape.columns, buffer.data(), shape.ld, &info,
                       shape.format, shape.nm);
  EXPECT_EQ(info, 0);
  return buffer;
}

// |A - L U| <= c k eps |L| |U| element by element, k being the products of an element (N. J.
// Higham, "Accuracy and Stability of Numerical Algorithms", theorem 9.3, with complex operations by
// lemma 3.5 and a reciprocal where the theorem has a division).
void expect_factors(const Matrix& a, const Matrix& lu) {
  const int m = a.rows(), n = a.columns();
  using Long = std::complex<long double>;
  for (int j = 0; j < n; ++j) {
    for (int i = 0; i < m; ++i) {
      Long sum = 0;
      long double size = 0;
      const int last = std::min(i, j);
      for (int k = 0; k <= last; ++k) {
        const Complex l = k == i ? Complex(1) : lu(i, k), u = lu(k, j);
        sum += Long(l.real(), l.imag()) * Long(u.real(), u.imag());
        size += static_cast<long double>(std::abs(l)) * std::abs(u);
      }
      const Long difference = sum - Long(a(i, j).real(), a(i, j).imag());
      ASSERT_TRUE(std::isfinite(size)) << i << ", " << j;
      ASSERT_LE(std::abs(difference), 6 * (last + 1) * kEpsilon * size) << i << ", " << j;
    }
  }
}

// Without pivoting only such matrices have factors that don't grow.
Batch dominant_batch(int nm, int m, int n, unsigned seed) {
  Batch batch = random_batch(nm, m, n, seed);
  for (Matrix& matrix : batch) {
    for (int k = 0; k < std::min(m, n); ++k) matrix(k, k) += Complex(2.0 * n, k % 2 ? m : -m);
  }
  return batch;
}

void check(const Shape& shape) {
  SCOPED_TRACE(shape.text());
  const Batch batch = dominant_batch(shape.nm, shape.rows, shape.columns, 7);
  for (const Buffer::Edge edge : {Buffer::Edge::start, Buffer::Edge::end}) {
    const Buffer buffer = factored(shape, batch, edge);
    ASSERT_TRUE(buffer.gaps_are_intact());
    for (int k = 0; k < shape.nm; ++k) {
      SCOPED_TRACE(k);
      expect_factors(batch[static_cast<std::size_t>(k)], buffer.read(k));
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

TEST(CompactLu, AllShapesFormatsAndLayouts) {
  const int largest = few_shapes() ? 6 : 9;
  for (const int layout : layouts) {
    for (const int format : formats) {
      for (int m = 1; m <= largest; ++m) {
        for (int n = 1; n <= largest; ++n) {
          const int run = layout == CblasColMajor ? m : n;
          check({layout, m, n, run + (m + n) % 3, format, 1 + (m * n) % 20});
          if (testing::Test::HasFatalFailure()) return;
        }
      }
    }
  }
}

TEST(CompactLu, EveryNumberOfMatrices) {
  for (const int layout : layouts) {
    for (const int format : formats) {
      for (int nm = 0; nm <= 20; ++nm) {
        for (const int n : {2, 3, 4, 5, 6}) {
          if (few_shapes() && (n + nm) % 3 != 0) continue;
          check({layout, n, n, n + nm % 2, format, nm});
          if (testing::Test::HasFatalFailure()) return;
        }
      }
    }
  }
}

TEST(CompactLu, LargeMatrices) {
  for (const int layout : layouts) {
    for (const int format : formats) {
      for (const auto& [m, n] :
           {std::pair(16, 16), {17, 17}, {33, 12}, {12, 33}, {40, 1}, {1, 40}}) {
        check({layout, m, n, std::max(m, n), format, 5});
        if (testing::Test::HasFatalFailure()) return;
      }
    }
  }
}

// Whatever stands in one matrix, the others get the same bits.
TEST(CompactLu, AMatrixThatFailsKeepsItToItself) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const int layout : layouts) {
    for (const int format : formats) {
      for (const int n : {2, 3, 4, 5, 7}) {
        const Shape shape = {layout, n, n, n, format, 11};
        Batch batch = dominant_batch(shape.nm, n, n, 9);
        const Buffer good = factored(shape, batch);
        for (const int bad : {0, 3, 6, 10}) {
          for (const Complex value : {Complex(0, 0), Complex(nan, 0), Complex(kInfinity, 1)}) {
            Batch other = batch;
            Matrix& victim = other[static_cast<std::size_t>(bad)];
            for (int k = 0; k < n; ++k) victim(k, 0) = value;
            const Buffer mixed = factored(shape, other);
            for (int lane = 0; lane < shape.nm; ++lane) {
              bool finite = true, same = true;
              for (int j = 0; j < n; ++j) {
                for (int i = 0; i < n; ++i) {
                  const std::size_t at = shape.real_at(lane, i, j), im = at + shape.group();
                  same = same && good.bits(at) == mixed.bits(at) && good.bits(im) == mixed.bits(im);
                  finite =
                      finite && std::isfinite(mixed.number(at)) && std::isfinite(mixed.number(im));
                }
              }
              ASSERT_EQ(same, lane != bad) << shape.text() << ", lane " << lane;
              ASSERT_EQ(finite, lane != bad) << shape.text() << ", lane " << lane;
            }
          }
        }
      }
    }
  }
}

// The processor's own format forms |p|^2; the others divide by Smith's method. Which one it is
// depends on the processor type, not on the format that is asked for.
TEST(CompactLu, PivotsBeyondTheRangeOfSquares) {
  for (const int layout : layouts) {
    for (const int format : formats) {
      for (const int n : {2, 3, 4, 5, 6, 9}) {
        for (const double scale : {1e170, 1e-170, 1e300, 1e-290}) {
          const Shape shape = {layout, n, n, n, format, 3};
          Batch batch = dominant_batch(shape.nm, n, n, 11);
          for (Matrix& matrix : batch) {
            for (int j = 0; j < n; ++j) {
              for (int i = 0; i < n; ++i) matrix(i, j) *= scale;
            }
          }
          const Buffer buffer = factored(shape, batch);
          for (int k = 0; k < shape.nm; ++k) {
            SCOPED_TRACE(shape.text() + ", scale " + std::to_string(scale));
            const Matrix lu = buffer.read(k);
            if (format != native_format()) {
              expect_factors(batch[static_cast<std::size_t>(k)], lu);
              if (testing::Test::HasFatalFailure()) return;
            } else if (scale > 1) {
              EXPECT_EQ(lu(1, 0), Complex(0)) << "1 / |p|^2 is 0";
            } else {
              EXPECT_FALSE(std::isfinite(lu(1, 0).real())) << "1 / |p|^2 is infinite";
            }
          }
        }
      }
    }
  }
}

TEST(CompactLu, PartsOfVeryDifferentSize) {
  for (const int format : formats) {
    if (format == native_format()) continue;
    for (const Complex pivot :
         {Complex(1e200, 1e-100), Complex(1e-100, 1e200), Complex(-1e-200, 1e-201), Complex(0, 3),
          Complex(-3, 0), Complex(2, 2), Complex(2, -2)}) {
      const Shape shape = {CblasColMajor, 2, 2, 2, format, 3};
      Batch batch(3, Matrix(2, 2));
      for (Matrix& matrix : batch) {
        matrix(0, 0) = pivot;
        matrix(1, 0) = pivot * Complex(0.5, 0.25);
        matrix(0, 1) = pivot;
        matrix(1, 1) = pivot * 3.0;
      }
      const Buffer buffer = factored(shape, batch);
      const Complex factor = buffer.get(1, 1, 0);
      EXPECT_NEAR(factor.real(), 0.5, 1e-15) << pivot;
      EXPECT_NEAR(factor.imag(), 0.25, 1e-15) << pivot;
    }
  }
}

TEST(CompactLu, OneByOneAndVectors) {
  for (const int layout : layouts) {
    for (const int format : formats) {
      const Shape one = {layout, 1, 1, 1, format, 9};
      Batch batch = random_batch(9, 1, 1, 3);
      batch[4](0, 0) = 0;
      Buffer before(one, Buffer::Edge::end);
      before.fill(batch);
      EXPECT_EQ(factored(one, batch).copy(), before.copy()) << "unchanged";
      const Shape row = {layout, 1, 6, 6, format, 9};
      batch = random_batch(9, 1, 6, 3);
      Buffer row_before(row, Buffer::Edge::end, 4);
      row_before.fill(batch);
      EXPECT_EQ(factored(row, batch).copy(), row_before.copy()) << "a row is its own factor";
    }
  }
}

TEST(CompactLu, NothingToDo) {
  int info = 77;
  for (const int layout : layouts) {
    for (const int bad : {0, -1, std::numeric_limits<int>::min()}) {
      for (const int format : formats) {
        info = 77;
        qsl_zgetrfnp_compact(layout, bad, 3, nullptr, 3, &info, format, 4);
        EXPECT_EQ(info, 0);
        qsl_zgetrfnp_compact(layout, 3, bad, nullptr, 3, &info, format, 4);
        qsl_zgetrfnp_compact(layout, 3, 3, nullptr, 3, &info, format, bad);
      }
    }
    // A format that does not exist.
    for (const int format : {0, 1, 2, 180, 184, -1, std::numeric_limits<int>::min()}) {
      info = 77;
      qsl_zgetrfnp_compact(layout, 3, 3, nullptr, 3, &info, format, 4);
      EXPECT_EQ(info, 0) << format;
    }
  }
  // Nowhere to put the status.
  const Shape shape = {CblasColMajor, 2, 2, 2, QSL_COMPACT_AVX, 4};
  Buffer buffer(shape, Buffer::Edge::end);
  const Batch batch = dominant_batch(4, 2, 2, 1);
  buffer.fill(batch);
  qsl_zgetrfnp_compact(CblasColMajor, 2, 2, buffer.data(), 2, nullptr, QSL_COMPACT_AVX, 4);
  expect_factors(batch[3], buffer.read(3));
}

}  // namespace
}  // namespace compact_test
