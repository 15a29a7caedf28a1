// Every variant that this processor supports, against the model's bits: each block size, each
// alignment of both arrays, each stride.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <vector>

#include "tests/level1/arrays.h"
#include "tests/level1/model.h"
#include "tests/level1/variants.h"
#include "tests/printed.h"

namespace level1_test {
namespace {

class Level1Kernels : public testing::TestWithParam<Variant> {
 protected:
  void SetUp() override {
    if (const char* why = left_out(GetParam().level)) GTEST_SKIP() << why;
  }
  Level level() const { return GetParam().level; }
};

TEST_P(Level1Kernels, DotHasTheBitsOfItsBlocksAtEveryAlignment) {
  constexpr std::size_t capacity = 200;
  for (const unsigned phase_x : phases()) {
    GuardedArray x(capacity, phase_x);
    x.fill(Values(1));
    for (const unsigned phase_y : phases()) {
      GuardedArray y(capacity, phase_y);
      y.fill(Values(2));
      for (const int n : counts(70, {96, 128, 198})) {
        // The arrays end where the guards begin.
        const double* x_at = x.data() + capacity - n;
        const double* y_at = y.data() + capacity - n;
        const double expected = model_ddot(level(), n, x_at, 1, y_at, 1);
        const double found = GetParam().ddot(n, x_at, 1, y_at, 1);
        ASSERT_TRUE(same_bits(found, expected))
            << "n " << n << ", x " << phase_x << ", y " << phase_y << " modulo 64: " << found
            << " for " << expected;
      }
    }
  }
}

TEST_P(Level1Kernels, DotHasTheBitsOfItsBlocksForEveryCount) {
  for (const unsigned phase_x : {0u, 8u, 4u}) {
    for (const unsigned phase_y : {0u, 8u}) {
      for (const int n : counts(200, {256, 512, 1000, 4096})) {
        GuardedArray x(static_cast<std::size_t>(n), phase_x);
        GuardedArray y(static_cast<std::size_t>(n), phase_y);
        x.fill(Values(3));
        y.fill(Values(4));
        const double expected = model_ddot(level(), n, x.data(), 1, y.data(), 1);
        const double found = GetParam().ddot(n, x.data(), 1, y.data(), 1);
        ASSERT_TRUE(same_bits(found, expected)) << "n " << n << ", x " << phase_x << ", y "
                                                << phase_y << ": " << found << " for " << expected;
      }
    }
  }
}

TEST_P(Level1Kernels, DotHasTheBitsOfItsBlocksForEveryStride) {
  for (const int incx : strides) {
    for (const int incy : strides) {
      for (const unsigned phase : {0u, 8u, 4u}) {
        for (const int n : counts(phase == 0 ? 200 : 40, {})) {
          GuardedArray x(extent(n, incx), phase);
          GuardedArray y(extent(n, incy), 0);
          x.fill(Values(5));
          y.fill(Values(6));
          const double expected = model_ddot(level(), n, x.data(), incx, y.data(), incy);
          const double found = GetParam().ddot(n, x.data(), incx, y.data(), incy);
          ASSERT_TRUE(same_bits(found, expected))
              << "n " << n << ", incx " << incx << ", incy " << incy << ", x " << phase << ": "
              << found << " for " << expected;
        }
      }
    }
  }
}

// The product of two strides may wrap to 1 in 32 bits; only (1, 1) and (-1, -1) count as 1. A
// stride of 2^31 - 1 is such a case and walks backwards, one element a step, modulo the address
// space.
TEST_P(Level1Kernels, DotIsNotMisledByAProductOfStridesThatWraps) {
  constexpr int n = 37;
  constexpr int huge = 2147483647;
  GuardedArray x(n, 0);
  GuardedArray y(n, 0);
  x.fill(Values(11));
  y.fill(Values(12));
  std::vector<double> backwards_x, backwards_y;
  for (int i = n - 1; i >= 0; i--) {
    backwards_x.push_back(x.data()[i]);
    backwards_y.push_back(y.data()[i]);
    backwards_x.push_back(0);
    backwards_y.push_back(0);
  }
  const double expected = model_ddot(level(), n, backwards_x.data(), 2, backwards_y.data(), 2);
  const double found = GetParam().ddot(n, x.data() + n - 1, huge, y.data() + n - 1, huge);
  EXPECT_TRUE(same_bits(found, expected)) << found << " for " << expected;
  // With one element nothing is walked.
  for (const int inc : {huge, -huge - 1, static_cast<int>(0xaaaaaaab), 3}) {
    EXPECT_EQ(GetParam().ddot(1, x.data(), inc, y.data(), 3), x.data()[0] * y.data()[0]);
  }
}

// One call of an update or a copy on a fresh y, against the model on another.
template <class Call, class ModelCall>
void expect_same_update(std::size_t x_doubles, unsigned phase_x, std::size_t y_doubles,
                        unsigned phase_y, const Call& call, const ModelCall& model_call) {
  GuardedArray x(x_doubles, phase_x);
  GuardedArray x_before(x_doubles, phase_x);
  GuardedArray y(y_doubles, phase_y);
  GuardedArray expected(y_doubles, phase_y);
  x.fill(Values(7));
  x_before.fill(Values(7));
  y.fill(Values(8));
  expected.fill(Values(8));
  call(x.data(), y.data());
  model_call(x.data(), expected.data());
  EXPECT_TRUE(y.same_contents(expected));
  EXPECT_TRUE(y.intact());
  EXPECT_TRUE(x.intact());
  EXPECT_TRUE(x.same_contents(x_before));
}

// Sweeps of count, alignment and stride for a routine whose elements hold `unit` doubles.
template <class Check>
void sweep_unit_stride(int small, std::initializer_list<int> large, const Check& check) {
  for (const unsigned phase_x : phases()) {
    for (const unsigned phase_y : phases()) {
      if (!emulated() && phase_x % 4 != 0 && phase_y % 4 != 0 && phase_x != phase_y) continue;
      for (const int n : counts(small, {})) {
        check(n, phase_x, 1, phase_y, 1);
        if (testing::Test::HasFailure()) {
          FAIL() << "n " << n << ", x " << phase_x << ", y " << phase_y << " modulo 64";
        }
      }
    }
  }
  for (const int n : counts(0, large)) {
    for (const unsigned phase_x : {0u, 4u, 8u, 16u}) {
      for (const unsigned phase_y : {0u, 8u, 16u, 1u}) check(n, phase_x, 1, phase_y, 1);
    }
    if (testing::Test::HasFailure()) FAIL() << "n " << n;
  }
}

template <class Check>
void sweep_strides(const Check& check) {
  for (const int incx : strides) {
    for (const int incy : strides) {
      for (const int n : counts(40, {100})) {
        for (const unsigned phase : {0u, 4u, 8u}) check(n, phase, incx, 0u, incy);
        if (testing::Test::HasFailure()) {
          FAIL() << "n " << n << ", incx " << incx << ", incy " << incy;
        }
      }
    }
  }
}

class Daxpy : public Level1Kernels {
 protected:
  void check(int n, unsigned phase_x, int incx, unsigned phase_y, int incy) const {
    const double a = -1.37;
    expect_same_update(
        extent(n, incx), phase_x, extent(n, incy), phase_y,
        [&](const double* x, double* y) { GetParam().daxpy(n, &a, x, incx, y, incy); },
        [&](const double* x, double* y) { model_daxpy(level(), n, a, x, incx, y, incy); });
  }
};

TEST_P(Daxpy, UnitStrideHasTheBitsOfTheModel) {
  sweep_unit_stride(70, {96, 128, 1000}, [&](auto... call) { check(call...); });
}
TEST_P(Daxpy, StridesHaveTheBitsOfTheModel) {
  sweep_strides([&](auto... call) { check(call...); });
}

class ZaxpyUpdate : public Level1Kernels {
 protected:
  void check(int n, unsigned phase_x, int incx, unsigned phase_y, int incy,
             complex_double alpha = {0.73, -1.19}) const {
    for (Zaxpy* zaxpy : GetParam().zaxpy) {
      expect_same_update(
          2 * extent(n, incx), phase_x, 2 * extent(n, incy), phase_y,
          [&](const double* x, double* y) {
            zaxpy(n, &alpha, reinterpret_cast<const complex_double*>(x), incx,
                  reinterpret_cast<complex_double*>(y), incy);
          },
          [&](const double* x, double* y) {
            model_zaxpy(level(), n, alpha, reinterpret_cast<const complex_double*>(x), incx,
                        reinterpret_cast<complex_double*>(y), incy);
          });
    }
  }
};

TEST_P(ZaxpyUpdate, UnitStrideHasTheBitsOfTheModel) {
  sweep_unit_stride(40, {48, 64, 100, 1000}, [&](auto... call) { check(call...); });
}
TEST_P(ZaxpyUpdate, StridesHaveTheBitsOfTheModel) {
  sweep_strides([&](auto... call) { check(call...); });
}

TEST_P(ZaxpyUpdate, AlphaOfOneAddsElements) {
  const complex_double one = {1, -0.0};
  sweep_unit_stride(20, {}, [&](auto... call) { check(call..., one); });
  sweep_strides([&](auto... call) { check(call..., one); });
}

// alpha and a may lie in y, which is overwritten: they are read once.
TEST_P(Level1Kernels, FactorsAreReadBeforeYIsWritten) {
  constexpr int n = 67;
  for (int at = 0; at < n; at++) {
    GuardedArray x(2 * n, 0);
    GuardedArray y(2 * n, 0);
    GuardedArray expected(2 * n, 0);
    x.fill(Values(9));
    y.fill(Values(10));
    expected.fill(Values(10));
    const auto* zx = x.as<complex_double>();
    for (Zaxpy* zaxpy : GetParam().zaxpy) {
      auto* zy = y.as<complex_double>();
      model_zaxpy(level(), n, expected.as<complex_double>()[at], zx, 1,
                  expected.as<complex_double>(), 1);
      zaxpy(n, zy + at, zx, 1, zy, 1);
      ASSERT_TRUE(y.same_contents(expected)) << "alpha in element " << at;
    }
    model_daxpy(level(), n, expected.data()[at], x.data(), 1, expected.data(), 1);
    GetParam().daxpy(n, y.data() + at, x.data(), 1, y.data(), 1);
    ASSERT_TRUE(y.same_contents(expected)) << "a in element " << at;
  }
}

class Copies : public Level1Kernels {
 protected:
  // Bytes that are signalling NaNs and everything else, moved element by element.
  static void copy_elements(int n, const void* x, int incx, void* y, int incy, int unit) {
    for (int i = 0; i < n; i++) {
      const std::size_t bytes = static_cast<std::size_t>(unit) * sizeof(double);
      std::memcpy(static_cast<char*>(y) + walk(n, incy, i) * bytes,
                  static_cast<const char*>(x) + walk(n, incx, i) * bytes, bytes);
    }
  }
  void check_real(int n, unsigned phase_x, int incx, unsigned phase_y, int incy) const {
    expect_same_update(
        extent(n, incx), phase_x, extent(n, incy), phase_y,
        [&](const double* x, double* y) { GetParam().dcopy(n, x, incx, y, incy); },
        [&](const double* x, double* y) { copy_elements(n, x, incx, y, incy, 1); });
  }
  void check_complex(int n, unsigned phase_x, int incx, unsigned phase_y, int incy) const {
    expect_same_update(
        2 * extent(n, incx), phase_x, 2 * extent(n, incy), phase_y,
        [&](const double* x, double* y) {
          GetParam().zcopy(n, reinterpret_cast<const complex_double*>(x), incx,
                           reinterpret_cast<complex_double*>(y), incy);
        },
        [&](const double* x, double* y) { copy_elements(n, x, incx, y, incy, 2); });
  }
};

TEST_P(Copies, RealCopyOfUnitStride) {
  // 1875 elements are 15000 bytes, where the string move takes over.
  sweep_unit_stride(70, {128, 1000, 1875}, [&](auto... call) { check_real(call...); });
}
TEST_P(Copies, ComplexCopyOfUnitStride) {
  sweep_unit_stride(40, {64, 500, 937}, [&](auto... call) { check_complex(call...); });
}
TEST_P(Copies, RealCopyOfEveryStride) {
  sweep_strides([&](auto... call) { check_real(call...); });
}
TEST_P(Copies, ComplexCopyOfEveryStride) {
  sweep_strides([&](auto... call) { check_complex(call...); });
}

TEST_P(Level1Kernels, NothingHappensWithoutElements) {
  for (const int n : {0, -1, -2147483647 - 1}) {
    EXPECT_TRUE(same_bits(GetParam().ddot(n, nullptr, 1, nullptr, 1), 0.0));
    EXPECT_TRUE(same_bits(GetParam().ddot(n, nullptr, 3, nullptr, -2), 0.0));
    EXPECT_EQ("", printed_by([&] {
                for (const int inc : {1, -1, 0, 4}) {
                  GetParam().daxpy(n, nullptr, nullptr, inc, nullptr, 1);
                  GetParam().dcopy(n, nullptr, inc, nullptr, 1);
                  GetParam().zcopy(n, nullptr, inc, nullptr, 1);
                  for (Zaxpy* zaxpy : GetParam().zaxpy) zaxpy(n, nullptr, nullptr, inc, nullptr, 1);
                }
              }));
  }
}

std::string name_of(const testing::TestParamInfo<Variant>& info) { return info.param.name; }
INSTANTIATE_TEST_SUITE_P(Levels, Level1Kernels, testing::ValuesIn(all_variants()), name_of);
INSTANTIATE_TEST_SUITE_P(Levels, Daxpy, testing::ValuesIn(all_variants()), name_of);
INSTANTIATE_TEST_SUITE_P(Levels, ZaxpyUpdate, testing::ValuesIn(all_variants()), name_of);
INSTANTIATE_TEST_SUITE_P(Levels, Copies, testing::ValuesIn(all_variants()), name_of);

// Says which levels ran, so that a log of a processor without some of them is not mistaken.
class LevelReport : public testing::Environment {
 public:
  void SetUp() override {
    std::printf("levels tested:");
    for (const Variant& variant : all_variants()) {
      if (left_out(variant.level) == nullptr) std::printf(" %s", variant.name);
    }
    std::printf("\n");
  }
};
[[maybe_unused]] const auto* const report = testing::AddGlobalTestEnvironment(new LevelReport);

}  // namespace
}  // namespace level1_test
