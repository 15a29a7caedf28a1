// The triangular solution, of each matrix by itself.
#include "tests/compact/batch.h"

namespace compact_test {
namespace {

constexpr double kEpsilon = std::numeric_limits<double>::epsilon();

struct Case {
  int layout, side, uplo, trans, diag;
  int m, n;
  Complex alpha;
  int format, nm;
  int pad;

  int order() const { return side == CblasLeft ? m : n; }
  Shape triangle() const { return {layout, order(), order(), order() + pad, format, nm}; }
  Shape right_sides() const {
    return {layout, m, n, (layout == CblasColMajor ? m : n) + pad, format, nm};
  }
  bool is_stored(int i, int j) const {
    if (i == j) return diag == CblasNonUnit;
    return uplo == CblasUpper ? i < j : i > j;
  }
  // op(A), whole.
  Complex element(const Matrix& a, int i, int j) const {
    if (trans != CblasNoTrans) std::swap(i, j);
    const Complex value = i == j && diag == CblasUnit ? Complex(1)
                          : is_stored(i, j)           ? a(i, j)
                                                      : Complex(0);
    return trans == CblasConjTrans ? std::conj(value) : value;
  }
  void call(const Buffer& a, Buffer& b) const {
    const complex_double factor = {alpha.real(), alpha.imag()};
    qsl_ztrsm_compact(layout, side, uplo, trans, diag, m, n, &factor, const_cast<Buffer&>(a).data(),
                      a.shape().ld, b.data(), b.shape().ld, format, nm);
  }
  std::string text() const {
    return right_sides().text() + ", side " + std::to_string(side) + ", uplo " +
           std::to_string(uplo) + ", trans " + std::to_string(trans) + ", diag " +
           std::to_string(diag);
  }
};

Batch triangles(const Case& c, unsigned seed) {
  Batch batch = random_batch(c.nm, c.order(), c.order(), seed);
  for (Matrix& matrix : batch) {
    for (int k = 0; k < c.order(); ++k) matrix(k, k) += Complex(3, 4);
    // Units of that size would let the solution grow.
    if (c.diag == CblasUnit) {
      for (int j = 0; j < c.order(); ++j) {
        for (int i = 0; i < c.order(); ++i) matrix(i, j) *= 0.25;
      }
    }
  }
  return batch;
}

// What is not stored holds the guard, which a sum would show, and is not changed.
void fill_triangles(const Case& c, const Batch& batch, Buffer& a) {
  for (int lane = 0; lane < c.triangle().groups() * c.triangle().group(); ++lane) {
    for (int j = 0; j < c.order(); ++j) {
      for (int i = 0; i < c.order(); ++i) {
        if (!c.is_stored(i, j)) continue;
        a.set(lane, i, j, lane < c.nm ? batch[static_cast<std::size_t>(lane)](i, j) : Complex());
      }
    }
  }
}

// |op(A) X - alpha B| <= c k eps (|op(A)| |X| + |alpha B|) element by element (Higham,
// theorem 8.5).
void expect_solution(const Case& c, const Matrix& a, const Matrix& b, const Matrix& x) {
  using Long = std::complex<long double>;
  const auto exact = [](Complex z) { return Long(z.real(), z.imag()); };
  for (int j = 0; j < c.n; ++j) {
    for (int i = 0; i < c.m; ++i) {
      Long sum = 0;
      long double size = 0;
      for (int k = 0; k < c.order(); ++k) {
        const Complex left = c.side == CblasLeft ? c.element(a, i, k) : x(i, k);
        const Complex right = c.side == CblasLeft ? x(k, j) : c.element(a, k, j);
        sum += exact(left) * exact(right);
        size += static_cast<long double>(std::abs(left)) * std::abs(right);
      }
      const Long wanted = exact(c.alpha) * exact(b(i, j));
      ASSERT_TRUE(std::isfinite(size)) << i << ", " << j;
      ASSERT_LE(std::abs(sum - wanted), 6 * (c.order() + 1) * kEpsilon * (size + std::abs(wanted)))
          << i << ", " << j;
    }
  }
}

void check(const Case& c) {
  SCOPED_TRACE(c.text());
  const Batch at = triangles(c, 5), bt = random_batch(c.nm, c.m, c.n, 6);
  for (const Buffer::Edge edge : {Buffer::Edge::start, Buffer::Edge::end}) {
    Buffer a(c.triangle(), edge, c.m % 2 * 8), b(c.right_sides(), edge, c.n % 3 * 4);
    fill_triangles(c, at, a);
    b.fill(bt);
    const std::vector<unsigned char> before = a.copy();
    c.call(a, b);
    ASSERT_EQ(a.copy(), before);
    ASSERT_TRUE(b.gaps_are_intact());
    for (int k = 0; k < c.nm; ++k) {
      const std::size_t at_k = static_cast<std::size_t>(k);
      expect_solution(c, at[at_k], bt[at_k], b.read(k));
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

// Every combination of the options, for each of them body(case) with no sizes yet.
template <class Body>
void for_each_option(const Body& body) {
  for (const int layout : layouts) {
    for (const int side : {CblasLeft, CblasRight}) {
      for (const int uplo : {CblasUpper, CblasLower}) {
        for (const int trans : {CblasNoTrans, CblasTrans, CblasConjTrans}) {
          for (const int diag : {CblasNonUnit, CblasUnit}) {
            body(Case{layout, side, uplo, trans, diag, 0, 0, {1, 0}, 0, 0, 0});
            if (testing::Test::HasFatalFailure()) return;
          }
        }
      }
    }
  }
}

const Complex factors[] = {{1, 0}, {-0.75, 0}, {0, 2}, {1.5, -0.5}, {1, -0.0}, {1, 1}};

TEST(CompactSolve, AllOptionsAndSizes) {
  int turn = 0;
  for_each_option([&](Case c) {
    for (const int format : formats) {
      for (const int m : {1, 2, 3, 4, 5, 8}) {
        for (const int n : {1, 2, 3, 4, 7}) {
          if (few_shapes() && (m + n) % 4 != 0) continue;
          c.format = format;
          c.m = m;
          c.n = n;
          c.nm = 1 + turn * 7 % 20;
          c.pad = turn % 3;
          c.alpha = factors[turn % 6];
          ++turn;
          check(c);
          if (testing::Test::HasFatalFailure()) return;
        }
      }
    }
  });
}

TEST(CompactSolve, EveryNumberOfMatrices) {
  for (const int format : formats) {
    for (int nm = 0; nm <= 20; ++nm) {
      check({CblasColMajor,
             CblasLeft,
             CblasLower,
             CblasNoTrans,
             CblasNonUnit,
             3,
             2,
             {2, 1},
             format,
             nm,
             1});
      check({CblasRowMajor,
             CblasRight,
             CblasUpper,
             CblasConjTrans,
             CblasUnit,
             2,
             4,
             {2, 1},
             format,
             nm,
             0});
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

TEST(CompactSolve, LargeMatrices) {
  for_each_option([&](Case c) {
    for (const int format : formats) {
      c.format = format;
      c.nm = 3;
      c.m = 17;
      c.n = few_shapes() ? 3 : 20;
      c.alpha = {0.5, -1};
      check(c);
      if (testing::Test::HasFatalFailure()) return;
    }
  });
}

TEST(CompactSolve, AlphaZeroMakesBZeroWhateverThereWas) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for_each_option([&](Case c) {
    for (const int format : formats) {
      for (const Complex alpha : {Complex(0, 0), Complex(-0.0, 0), Complex(0, -0.0)}) {
        for (const int nm : {1, 4, 9}) {
          c.format = format;
          c.nm = nm;
          c.m = 3;
          c.n = 2;
          c.pad = 1;
          c.alpha = alpha;
          Buffer b(c.right_sides(), Buffer::Edge::end);
          Batch bt = random_batch(nm, 3, 2, 2);
          bt[0](1, 1) = {nan, -nan};
          b.fill(bt);
          // A is nowhere.
          const complex_double factor = {alpha.real(), alpha.imag()};
          qsl_ztrsm_compact(c.layout, c.side, c.uplo, c.trans, c.diag, c.m, c.n, &factor, nullptr,
                            c.triangle().ld, b.data(), b.shape().ld, format, nm);
          ASSERT_TRUE(b.gaps_are_intact());
          for (int lane = 0; lane < c.triangle().groups() * c.triangle().group(); ++lane) {
            for (int j = 0; j < 2; ++j) {
              for (int i = 0; i < 3; ++i) {
                const std::size_t at = c.right_sides().real_at(lane, i, j);
                ASSERT_EQ(b.bits(at), 0u) << c.text() << ", lane " << lane;
                ASSERT_EQ(b.bits(at + c.right_sides().group()), 0u)
                    << c.text() << ", lane " << lane;
              }
            }
          }
        }
      }
    }
  });
}

// No product is made with a factor of one: an infinite right-hand side stays as it is.
TEST(CompactSolve, AlphaOneMakesNoProduct) {
  const double infinity = std::numeric_limits<double>::infinity();
  for (const int format : formats) {
    Case c = {CblasColMajor, CblasLeft, CblasLower, CblasNoTrans, CblasUnit, 1, 3, {1, 0},
              format,        5,         0};
    Buffer a(c.triangle(), Buffer::Edge::end), b(c.right_sides(), Buffer::Edge::end);
    Batch bt = random_batch(5, 1, 3, 2);
    bt[2](0, 1) = {infinity, 3};
    b.fill(bt);
    const std::vector<unsigned char> before = b.copy();
    c.call(a, b);
    EXPECT_EQ(b.copy(), before) << format;
  }
}

// Whatever stands in one matrix, of A or of B, the others get the same bits.
TEST(CompactSolve, AMatrixThatFailsKeepsItToItself) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double infinity = std::numeric_limits<double>::infinity();
  for_each_option([&](Case c) {
    if (c.diag == CblasUnit) return;
    for (const int format : formats) {
      c.format = format;
      c.nm = 11;
      c.m = 4;
      c.n = 3;
      const Batch at = triangles(c, 5), bt = random_batch(c.nm, c.m, c.n, 6);
      const Shape shape = c.right_sides();
      const auto solved = [&](const Batch& triangle, const Batch& right) {
        Buffer a(c.triangle(), Buffer::Edge::end), b(shape, Buffer::Edge::end);
        fill_triangles(c, triangle, a);
        b.fill(right);
        c.call(a, b);
        return b;
      };
      const Buffer good = solved(at, bt);
      const auto expect_others_the_same = [&](const Buffer& mixed, int bad) {
        for (int lane = 0; lane < c.nm; ++lane) {
          bool same = true;
          for (int j = 0; j < c.n; ++j) {
            for (int i = 0; i < c.m; ++i) {
              const std::size_t re = shape.real_at(lane, i, j), im = re + shape.group();
              same = same && good.bits(re) == mixed.bits(re) && good.bits(im) == mixed.bits(im);
            }
          }
          ASSERT_EQ(same, lane != bad) << c.text() << ", lane " << lane;
        }
      };
      for (const int bad : {1, 6, 10}) {
        const std::size_t victim = static_cast<std::size_t>(bad);
        for (const Complex value : {Complex(0, 0), Complex(nan, 1), Complex(1, infinity)}) {
          Batch other = at;
          other[victim](1, 1) = value;
          expect_others_the_same(solved(other, bt), bad);
          Batch right = bt;
          right[victim](2, 1) = value;
          expect_others_the_same(solved(at, right), bad);
          if (testing::Test::HasFatalFailure()) return;
        }
      }
    }
  });
}

TEST(CompactSolve, DiagonalsBeyondTheRangeOfSquares) {
  for (const int format : formats) {
    for (const double scale : {1e200, 1e-200, 1e300, 1e-300}) {
      for (const int n : {1, 2, 3}) {
        Case c = {CblasColMajor, CblasLeft, CblasUpper, CblasNoTrans, CblasNonUnit, n, 2, {1, 0},
                  format,        5,         0};
        Batch at = triangles(c, 5), bt = random_batch(c.nm, n, 2, 6);
        for (Matrix& matrix : at) {
          for (int j = 0; j < n; ++j) {
            for (int i = 0; i < n; ++i) matrix(i, j) *= scale;
          }
        }
        for (Matrix& matrix : bt) {
          for (int j = 0; j < 2; ++j) {
            for (int i = 0; i < n; ++i) matrix(i, j) *= scale;
          }
        }
        Buffer a(c.triangle(), Buffer::Edge::end), b(c.right_sides(), Buffer::Edge::end);
        fill_triangles(c, at, a);
        b.fill(bt);
        c.call(a, b);
        for (int k = 0; k < c.nm; ++k) {
          const std::size_t at_k = static_cast<std::size_t>(k);
          expect_solution(c, at[at_k], bt[at_k], b.read(k));
          ASSERT_FALSE(testing::Test::HasFatalFailure()) << c.text() << scale;
        }
      }
    }
  }
}

TEST(CompactSolve, AnyOtherFormatHasGroupsOfOne) {
  for_each_option([&](Case c) {
    for (const int format : {0, 180, 184, -5, std::numeric_limits<int>::min()}) {
      c.format = format;
      c.nm = 3;
      c.m = 3;
      c.n = 4;
      c.pad = 1;
      c.alpha = {1.5, 2};
      check(c);
    }
  });
}

TEST(CompactSolve, SizesBelowOneDoNothing) {
  const complex_double one = {1, 0};
  for_each_option([&](Case c) {
    for (const int format : formats) {
      for (const int bad : {0, -1, std::numeric_limits<int>::min()}) {
        qsl_ztrsm_compact(c.layout, c.side, c.uplo, c.trans, c.diag, bad, 2, &one, nullptr, 3,
                          nullptr, 3, format, 4);
        qsl_ztrsm_compact(c.layout, c.side, c.uplo, c.trans, c.diag, 2, bad, &one, nullptr, 3,
                          nullptr, 3, format, 4);
        qsl_ztrsm_compact(c.layout, c.side, c.uplo, c.trans, c.diag, 2, 2, &one, nullptr, 3,
                          nullptr, 3, format, bad);
      }
    }
  });
}

}  // namespace
}  // namespace compact_test
