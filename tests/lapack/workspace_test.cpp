// Systems by rows when the copies of their operands can't be had: nothing happens, nothing is lost.
#include <climits>

#include "include/qsl/lapack.h"
#include "tests/frame/support.h"
#include "tests/lapack/known_factors.h"
#include "tests/memory/support.h"

namespace lapack_test {
namespace {

using frame_test::printed;
using memory_test::CountingBackEnd;

class SolverMemory : public memory_test::Memory {};

template <class Number>
struct Exported;
template <>
struct Exported<double> {
  static constexpr auto gesv = LAPACKE_dgesv;
  static constexpr char refusal[] = "Not enough memory to transpose matrix in LAPACKE_dgesv_work\n";
  static constexpr char product[] =
      "\nArvex QSL INTERNAL ERROR: Not enough work memory in function DGEMM\n";
};
template <>
struct Exported<complex_double> {
  static constexpr auto gesv = LAPACKE_zgesv;
  static constexpr char refusal[] = "Not enough memory to transpose matrix in LAPACKE_zgesv_work\n";
  static constexpr char product[] =
      "\nArvex QSL INTERNAL ERROR: Not enough work memory in function ZGEMM\n";
};

// A system with its exact solution, by rows with gaps.
template <class Number>
class System {
 public:
  System(int n, int nrhs)
      : known_(known_factors<Number>(n, n, static_cast<unsigned>(n))), x_(n, nrhs) {
    Random random(3);
    x_.fill_with([&] { return small_integer<Number>(random, 9); });
    b_ = known_.times(x_);
  }

  struct Result {
    int status;
    std::string text;
    bool untouched, solved;
  };
  Result run() const {
    const Storage storage = {true, 2, 4};
    Stored<Number> a(known_.a, storage), b(b_, storage);
    const Stored<Number> a_before(known_.a, storage), b_before(b_, storage);
    Pivots pivots(known_.a.rows());
    Result result = {};
    result.text = printed([&] {
      result.status = Exported<Number>::gesv(CblasRowMajor, known_.a.rows(), x_.columns(), a.data(),
                                             a.ld(), pivots.data(), b.data(), b.ld());
    });
    result.untouched = a.same_bytes(a_before) && b.same_bytes(b_before) && pivots.untouched();
    result.solved = a.intact() && b.intact() && pivots.intact() && pivots.values() == known_.ipiv &&
                    equal(a.elements(), known_.factors) && equal(b.elements(), x_);
    return result;
  }

 private:
  KnownFactors<Number> known_;
  Matrix<Number> x_, b_{0, 0};
};

std::vector<std::pair<int, int>> sizes() {
  std::vector<std::pair<int, int>> result = {{0, 0}, {1, 1}, {5, 3}, {17, 1}, {33, 9}};
  if (!emulated()) result.insert(result.end(), {{100, 20}, {200, 33}});
  return result;
}

// One request of a call fails, whichever.
TEST_F(SolverMemory, EveryRequestFailsOnce) {
  for_each_kind([](auto kind) {
    using Number = decltype(kind);
    for (const auto& [n, nrhs] : sizes()) {
      const System<Number> system(n, nrhs);
      int refusals = 0;
      bool complete = false;
      for (int fail_at = 0; !complete; fail_at++) {
        ASSERT_LT(fail_at, 100) << "the call never ran without a failure";
        CountingBackEnd counting;
        CountingBackEnd::fail(fail_at);
        const auto result = system.run();
        complete = CountingBackEnd::refused() == 0;
        CountingBackEnd::fail_none();
        if (result.status == -1011) {
          refusals++;
          EXPECT_EQ(result.text, Exported<Number>::refusal) << n << ", request " << fail_at;
          EXPECT_TRUE(result.untouched) << n << ", request " << fail_at;
        } else {
          EXPECT_EQ(result.status, 0) << n << ", request " << fail_at;
          EXPECT_TRUE(result.solved) << n << ", request " << fail_at;
          EXPECT_TRUE(result.text == "" || (!complete && result.text == Exported<Number>::product))
              << result.text;
        }
        EXPECT_FALSE(complete && (result.status != 0 || result.text != "")) << result.text;
        QSL_Free_Buffers();
        ASSERT_EQ(CountingBackEnd::live(), 0) << n << ", request " << fail_at;
      }
      // The copies of both operands are taken, even of empty ones.
      EXPECT_EQ(refusals, 2) << n << ", " << nrhs;
    }
  });
}

// Without memory there is no copy; with that for the copies alone the system is solved.
TEST_F(SolverMemory, EveryRequestFromSomeOneOnFails) {
  for_each_kind([](auto kind) {
    using Number = decltype(kind);
    for (const auto& [n, nrhs] : sizes()) {
      const System<Number> system(n, nrhs);
      for (int fail_at = 0; fail_at < 4; fail_at++) {
        CountingBackEnd counting;
        CountingBackEnd::fail(fail_at, INT_MAX);
        const auto result = system.run();
        CountingBackEnd::fail_none();
        if (result.status == -1011) {
          EXPECT_EQ(result.text, Exported<Number>::refusal);
          EXPECT_TRUE(result.untouched);
        } else {
          EXPECT_EQ(result.status, 0);
          EXPECT_TRUE(result.solved) << n << ", " << fail_at << " requests";
          std::string rest = result.text;
          const std::string product = Exported<Number>::product;
          while (rest.rfind(product, 0) == 0) rest.erase(0, product.size());
          EXPECT_EQ(rest, "");
        }
        EXPECT_TRUE(fail_at > 0 || result.status == -1011);
        QSL_Free_Buffers();
        ASSERT_EQ(CountingBackEnd::live(), 0) << n << ", " << fail_at << " requests";
      }
    }
  });
}

// The buffers of a system that has no solution or is turned down by the solver.
TEST_F(SolverMemory, BuffersAreFreedWhateverTheStatus) {
  for_each_kind([](auto kind) {
    using Number = decltype(kind);
    CountingBackEnd counting;
    const int n = 20;
    Stored<Number> a(known_factors<Number>(n, n, 1, {4}).a, {true}),
        b(random_matrix<Number>(n, n, 1));
    std::vector<int> ipiv(n);
    EXPECT_EQ(Exported<Number>::gesv(CblasRowMajor, n, n, a.data(), n, ipiv.data(), b.data(), n),
              5);
    printed([&] {
      EXPECT_EQ(Exported<Number>::gesv(CblasRowMajor, -n, n, a.data(), n, ipiv.data(), b.data(), n),
                -2);
      EXPECT_EQ(Exported<Number>::gesv(CblasRowMajor, n, -n, a.data(), n, ipiv.data(), b.data(), n),
                -3);
      EXPECT_EQ(Exported<Number>::gesv(CblasRowMajor, INT_MIN, INT_MIN, a.data(), n, ipiv.data(),
                                       b.data(), n),
                -2);
    });
    EXPECT_GT(CountingBackEnd::made(), 0);
    QSL_Free_Buffers();
    EXPECT_EQ(CountingBackEnd::live(), 0);
  });
}

// A matrix whose size in bytes is no number of 32 bits is not asked for. (Null pointers: there are
// no elements to be looked at.)
TEST_F(SolverMemory, AMatrixThatIsTooLarge) {
  for_each_kind([](auto kind) {
    using Number = decltype(kind);
    for (const int n : {16384, 20000, 23170, 23171, 32768, 46340, 46341, 65535, 65536, 92682,
                        1 << 24, 1 << 30, INT_MAX}) {
      for (const int nrhs : {0, 1, n}) {
        CountingBackEnd counting;
        int status = 0;
        EXPECT_EQ(printed([&] {
                    status = Exported<Number>::gesv(CblasRowMajor, n, nrhs, nullptr, n, nullptr,
                                                    nullptr, nrhs);
                  }),
                  Exported<Number>::refusal)
            << n;
        EXPECT_EQ(status, -1011) << n;
        EXPECT_EQ(CountingBackEnd::made() + CountingBackEnd::refused(), 0) << n;
      }
    }
  });
}

// The matrix's copy is made before, and given back.
TEST_F(SolverMemory, RightHandSidesThatAreTooLarge) {
  for_each_kind([](auto kind) {
    using Number = decltype(kind);
    for (const auto& [n, nrhs] : {std::pair{1, 1 << 28},
                                  {1, 1 << 29},
                                  {1, (1 << 29) + 1},
                                  {1, 1 << 30},
                                  {1, INT_MAX},
                                  {3, 178956971},
                                  {100, 1 << 22},
                                  {100, INT_MAX},
                                  {128, 1 << 25}}) {
      CountingBackEnd counting;
      Stored<Number> a(random_matrix<Number>(n, n, 1));
      const Stored<Number> before(random_matrix<Number>(n, n, 1));
      Pivots pivots(n);
      int status = 0;
      EXPECT_EQ(printed([&, order = n, count = nrhs] {
                  status = Exported<Number>::gesv(CblasRowMajor, order, count, a.data(), order,
                                                  pivots.data(), nullptr, count);
                }),
                Exported<Number>::refusal)
          << n << ", " << nrhs;
      EXPECT_EQ(status, -1011) << n << ", " << nrhs;
      EXPECT_TRUE(a.same_bytes(before) && pivots.untouched());
      EXPECT_GT(CountingBackEnd::made(), 0);
      QSL_Free_Buffers();
      ASSERT_EQ(CountingBackEnd::live(), 0) << n << ", " << nrhs;
    }
  });
}

// By columns there is nothing to copy, and a small system takes no other buffer.
TEST_F(SolverMemory, SmallSystemsByColumnsTakeNone) {
  for_each_kind([](auto kind) {
    using Number = decltype(kind);
    CountingBackEnd counting;
    CountingBackEnd::fail_all();
    for (int n = 0; n <= 16; n++) {
      const int ld = n > 0 ? n : 1;
      const auto known = known_factors<Number>(n, n, 1);
      Matrix<Number> a = known.a, b = random_matrix<Number>(n, 8, 1);
      std::vector<int> ipiv(static_cast<std::size_t>(n));
      EXPECT_EQ(
          Exported<Number>::gesv(CblasColMajor, n, 8, a.data(), ld, ipiv.data(), b.data(), ld), 0);
      EXPECT_TRUE(equal(a, known.factors));
    }
    EXPECT_EQ(CountingBackEnd::refused(), 0);
    CountingBackEnd::fail_none();
  });
}

}  // namespace
}  // namespace lapack_test
