// What is said of bad arguments, which one is named when several are bad, and that nothing else
// happens.
#include <array>
#include <climits>

#include "include/qsl/lapack.h"
#include "lapack/c_interface/c_interface.h"
#include "tests/lapack/types.h"

namespace lapack_test {
namespace {

using frame_test::printed;

std::string report(int position, const std::string& name) {
  if (position == 0) return "";
  return "\nArvex QSL ERROR: Parameter " + std::to_string(position) +
         " was incorrect on entry to " + name + ".\n";
}

// Operands that a call that is turned down leaves alone.
template <class Number>
struct Operands {
  Stored<Number> a{known_factors<Number>(4, 4, 1).a}, b{random_matrix<Number>(4, 4, 2)};
  Pivots pivots{4};

  bool untouched() const {
    const Operands fresh;
    return a.same_bytes(fresh.a) && b.same_bytes(fresh.b) && pivots.untouched();
  }
};

// `bad` has a bit for each argument that is bad; the lowest one is to be named.
int expected_position(unsigned bad, std::initializer_list<int> positions) {
  return bad == 0 ? 0 : positions.begin()[__builtin_ctz(bad)];
}

TEST(Reports, TheFirstBadArgumentOfTheFactorisation) {
  for (unsigned bad = 0; bad < 8; bad++) {
    const int m = bad & 1 ? -1 : 4, n = bad & 2 ? INT_MIN : 3, lda = bad & 4 ? 0 : 4;
    const int position = expected_position(bad, {1, 2, 4});
    Operands<double> operands;
    int info = 99;
    const std::string text =
        printed([&] { DGETRF(&m, &n, operands.a.data(), &lda, operands.pivots.data(), &info); });
    EXPECT_EQ(text, report(position, "DGETRF")) << bad;
    EXPECT_EQ(info, -position) << bad;
    EXPECT_EQ(operands.untouched(), position != 0) << bad;
  }
}

TEST(Reports, LeadingDimensionsOfTheFactorisation) {
  for (const auto& [m, n, lda] :
       {std::array{0, 0, 1}, {0, 5, 1}, {1, 1, 1}, {4, 0, 4}, {4, 1, 4}}) {
    Operands<double> operands;
    int info = 99, less = lda - 1;
    EXPECT_EQ(
        printed([&] { DGETRF(&m, &n, operands.a.data(), &lda, operands.pivots.data(), &info); }),
        "");
    EXPECT_EQ(info, 0);
    EXPECT_EQ(
        printed([&] { DGETRF(&m, &n, operands.a.data(), &less, operands.pivots.data(), &info); }),
        report(4, "DGETRF"));
    EXPECT_EQ(info, -4);
  }
}

// A null pointer is a zero; a status that nobody wants is not stored.
TEST(Reports, NullIntegersOfTheFactorisation) {
  const int two = 2, bad = -2;
  int info = 99;
  double a[4] = {1, 2, 3, 4};
  EXPECT_EQ(printed([&] { DGETRF(nullptr, &two, a, &two, nullptr, &info); }), "");
  EXPECT_EQ(info, 0);
  info = 99;
  EXPECT_EQ(printed([&] { DGETRF(&two, nullptr, a, &two, nullptr, &info); }), "");
  EXPECT_EQ(info, 0);
  EXPECT_EQ(printed([&] { DGETRF(&two, &two, a, nullptr, nullptr, &info); }), report(4, "DGETRF"));
  EXPECT_EQ(info, -4);
  EXPECT_EQ(printed([&] { DGETRF(&bad, &two, a, &two, nullptr, nullptr); }), report(1, "DGETRF"));
  EXPECT_EQ(printed([&] { DGETRF(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr); }),
            report(4, "DGETRF"));
  int ipiv[2];
  DGETRF(&two, &two, a, &two, ipiv, nullptr);
  EXPECT_EQ(a[0], 2) << "factored all the same";
}

TEST(Reports, TheFirstBadArgumentOfTheSolvers) {
  for_each_kind([&](auto kind) {
    using Number = decltype(kind);
    for (unsigned bad = 0; bad < 16; bad++) {
      const int n = bad & 1 ? -2 : 4, nrhs = bad & 2 ? -1 : 3;
      const int lda = bad & 4 ? 0 : 4, ldb = bad & 8 ? -7 : 4;
      const int position = expected_position(bad, {1, 2, 4, 7});
      Operands<Number> operands;
      int info = 99;
      const std::string text = printed([&] {
        Routines<Number>::gesv(&n, &nrhs, operands.a.data(), &lda, operands.pivots.data(),
                               operands.b.data(), &ldb, &info);
      });
      EXPECT_EQ(text, report(position, routine_name<Number>("GESV "))) << bad;
      EXPECT_EQ(info, -position) << bad;
      EXPECT_EQ(operands.untouched(), position != 0) << bad;
    }
  });
}

// On the way through the small kernels (sizes below 9) and on the other.
TEST(Reports, TheFirstBadArgumentOfTheSolveWithFactors) {
  for_each_kind([&](auto kind) {
    using Number = decltype(kind);
    for (const int size : {4, 9, 20}) {
      for (const int count : {0, 3, 9}) {
        for (unsigned bad = 1; bad < 32; bad++) {
          for (const char* option : {"X", "", "\xce"}) {
            const int n = bad & 2 ? -1 : size, nrhs = bad & 4 ? INT_MIN : count;
            const int lda = bad & 8 ? 0 : size, ldb = bad & 16 ? 0 : size;
            const int position = expected_position(bad, {1, 2, 3, 5, 8});
            Operands<Number> operands;
            int info = 99;
            const std::string text = printed([&] {
              Routines<Number>::getrs(bad & 1 ? option : "t", &n, &nrhs, operands.a.data(), &lda,
                                      operands.pivots.data(), operands.b.data(), &ldb, &info);
            });
            EXPECT_EQ(text, report(position, routine_name<Number>("GETRS"))) << bad;
            EXPECT_EQ(info, -position) << bad;
            EXPECT_TRUE(operands.untouched());
          }
        }
      }
    }
  });
}

TEST(Reports, OptionsOfTheSolveWithFactors) {
  for_each_kind([&](auto kind) {
    using Number = decltype(kind);
    const int none = 0, large = 20, one = 1;
    for (int letter = 0; letter < 256; letter++) {
      const char option[2] = {static_cast<char>(letter), '\0'};
      const bool good = letter != 0 && std::string("NnTtCc").find(option) != std::string::npos;
      for (const int n : {none, large}) {
        int info = 99;
        const int ld = std::max(n, one);
        EXPECT_EQ(printed([&] {
                    Routines<Number>::getrs(option, &n, &none, nullptr, &ld, nullptr, nullptr, &ld,
                                            &info);
                  }),
                  good ? "" : report(1, routine_name<Number>("GETRS")));
        EXPECT_EQ(info, good ? 0 : -1) << letter;
      }
    }
    int info = 99;
    EXPECT_EQ(printed([&] {
                Routines<Number>::getrs(nullptr, &none, &none, nullptr, &one, nullptr, nullptr,
                                        &one, &info);
              }),
              report(1, routine_name<Number>("GETRS")));
    EXPECT_EQ(info, -1);
  });
}

template <class Number>
struct Exported;
template <>
struct Exported<double> {
  static constexpr auto gesv = LAPACKE_dgesv;
  static constexpr char name[] = "LAPACKE_dgesv";
};
template <>
struct Exported<complex_double> {
  static constexpr auto gesv = LAPACKE_zgesv;
  static constexpr char name[] = "LAPACKE_zgesv";
};

std::string wrong_parameter(int position, const std::string& name) {
  return "Wrong parameter " + std::to_string(position) + " in " + name + "\n";
}

struct Call {
  int layout, n, nrhs, lda, ldb;
};

template <class Number>
void expect(const Call& c, int status, const std::string& text) {
  Operands<Number> operands;
  int found = 99;
  EXPECT_EQ(printed([&] {
              found = Exported<Number>::gesv(c.layout, c.n, c.nrhs, operands.a.data(), c.lda,
                                             operands.pivots.data(), operands.b.data(), c.ldb);
            }),
            text)
      << c.layout << ", " << c.n << ", " << c.nrhs << ", " << c.lda << ", " << c.ldb;
  EXPECT_EQ(found, status) << c.layout << ", " << c.n << ", " << c.nrhs << ", " << c.lda << ", "
                           << c.ldb;
  EXPECT_EQ(operands.untouched(), status != 0 || c.n <= 0);
}

TEST(ReportsByValue, Layouts) {
  for_each_kind([&](auto kind) {
    using Number = decltype(kind);
    for (const int layout : {100, 103, 0, -101, INT_MIN, INT_MAX}) {
      expect<Number>({layout, 4, 2, 4, 4}, -1, wrong_parameter(1, Exported<Number>::name));
      // Nothing is looked at.
      const std::string text = printed([&] {
        auto* nowhere = reinterpret_cast<Number*>(16);
        EXPECT_EQ(Exported<Number>::gesv(layout, 100, 100, nowhere, 100, nullptr, nowhere, 100),
                  -1);
        EXPECT_EQ(Exported<Number>::gesv(layout, -1, -1, nullptr, -1, nullptr, nullptr, -1), -1);
      });
      EXPECT_EQ(text, wrong_parameter(1, Exported<Number>::name) +
                          wrong_parameter(1, Exported<Number>::name));
    }
  });
}

// By rows, leading dimensions are tested before the sizes, and by the layer itself.
TEST(ReportsByValue, LeadingDimensionsByRows) {
  for_each_kind([&](auto kind) {
    using Number = decltype(kind);
    const std::string name = Exported<Number>::name + std::string("_work");
    const std::string solver = routine_name<Number>("GESV ");
    const int rows = CblasRowMajor;
    expect<Number>({rows, 4, 2, 3, 2}, -5, wrong_parameter(5, name));
    expect<Number>({rows, 4, 2, 3, 1}, -5, wrong_parameter(5, name));
    expect<Number>({rows, 4, 2, -1, 2}, -5, wrong_parameter(5, name));
    expect<Number>({rows, 4, 2, 4, 1}, -8, wrong_parameter(8, name));
    expect<Number>({rows, 0, 1, -1, 1}, -5, wrong_parameter(5, name));
    expect<Number>({rows, 0, 1, 0, 0}, -8, wrong_parameter(8, name));
    expect<Number>({rows, -3, 1, -4, 0}, -5, wrong_parameter(5, name));
    expect<Number>({rows, -3, 1, -3, 0}, -8, wrong_parameter(8, name));
    expect<Number>({rows, -3, -2, 0, -3}, -8, wrong_parameter(8, name));
    expect<Number>({rows, 4, -2, 4, -3}, -8, wrong_parameter(8, name));
    // What is left to the solver: shifted by the layout.
    expect<Number>({rows, -3, 1, -3, 1}, -2, report(1, solver));
    expect<Number>({rows, -3, -2, 0, -2}, -2, report(1, solver));
    expect<Number>({rows, 4, -2, 4, -2}, -3, report(2, solver));
    expect<Number>({rows, 4, -2, 4, 4}, -3, report(2, solver));
    // Legal.
    expect<Number>({rows, 0, 0, 0, 0}, 0, "");
    expect<Number>({rows, 0, 3, 0, 3}, 0, "");
    expect<Number>({rows, 4, 0, 4, 0}, 0, "");
    expect<Number>({rows, 4, 2, 4, 2}, 0, "");
  });
}

// By columns they are the solver's, which reports them itself.
TEST(ReportsByValue, LeadingDimensionsByColumns) {
  for_each_kind([&](auto kind) {
    using Number = decltype(kind);
    const std::string solver = routine_name<Number>("GESV ");
    const int columns = CblasColMajor;
    for (unsigned bad = 0; bad < 16; bad++) {
      const Call call = {columns, bad & 1 ? -1 : 4, bad & 2 ? -5 : 3, bad & 4 ? 3 : 4,
                         bad & 8 ? 3 : 4};
      // A bad leading dimension of an empty matrix must be below 1.
      Call changed = call;
      if (bad & 1 && bad & 4) changed.lda = 0;
      const int position = expected_position(bad, {1, 2, 4, 7});
      expect<Number>(changed, position == 0 ? 0 : -position - 1, report(position, solver));
    }
    expect<Number>({columns, 0, 0, 0, 1}, -5, report(4, solver));
    expect<Number>({columns, 0, 3, 1, 0}, -8, report(7, solver));
    expect<Number>({columns, 0, 3, 1, 1}, 0, "");
  });
}

// A NaN is found before anything else, and nothing is said of it.
TEST(ReportsByValue, ANanIsSilent) {
  for_each_kind([](auto kind) {
    using Number = decltype(kind);
    for (const int layout : {CblasColMajor, CblasRowMajor}) {
      for (const int lda : {4, 3}) {
        for (const int ldb : {4, 1}) {
          for (const int nan_in : {4, 7}) {
            Operands<Number> operands;
            (nan_in == 4 ? operands.a : operands.b).set(0, 0, number<Number>(nan_value));
            int status = 99;
            EXPECT_EQ(printed([&] {
                        status =
                            Exported<Number>::gesv(layout, 4, 3, operands.a.data(), lda,
                                                   operands.pivots.data(), operands.b.data(), ldb);
                      }),
                      "");
            EXPECT_EQ(status, -nan_in) << layout << ", " << lda << ", " << ldb;
            EXPECT_TRUE(operands.pivots.untouched());
          }
        }
      }
      // Before a bad number of right-hand sides as well.
      Operands<Number> operands;
      operands.a.set(3, 3, number<Number>(nan_value));
      EXPECT_EQ(printed([&] {
                  EXPECT_EQ(Exported<Number>::gesv(layout, 4, -1, operands.a.data(), 4, nullptr,
                                                   operands.b.data(), 4),
                            -4);
                }),
                "");
    }
  });
}

// No more of a column, or a row, than its leading dimension: what lies behind is not seen.
TEST(ReportsByValue, ALeadingDimensionThatIsTooSmallEndsTheSearch) {
  for_each_kind([](auto kind) {
    using Number = decltype(kind);
    for (const int n : {4, 6, 20}) {
      const int lda = n / 2;
      std::vector<Number> a(static_cast<std::size_t>(n * n), number<Number>(1)), b = a;
      std::vector<int> ipiv(20, -7);
      const auto solve = [&](int layout) {
        return Exported<Number>::gesv(layout, n, 2, a.data(), lda, ipiv.data(), b.data(), n);
      };
      const std::string by_columns = report(4, routine_name<Number>("GESV ")),
                        by_rows = wrong_parameter(5, Exported<Number>::name + std::string("_work"));
      a[static_cast<std::size_t>(n * lda)] = number<Number>(nan_value);
      EXPECT_EQ(printed([&] { EXPECT_EQ(solve(CblasColMajor), -5); }), by_columns) << n;
      EXPECT_EQ(printed([&] { EXPECT_EQ(solve(CblasRowMajor), -5); }), by_rows) << n;
      a[static_cast<std::size_t>(n * lda) - 1] = number<Number>(nan_value);
      EXPECT_EQ(printed([&] { EXPECT_EQ(solve(CblasColMajor), -4); }), "") << n;
      EXPECT_EQ(printed([&] { EXPECT_EQ(solve(CblasRowMajor), -4); }), "") << n;
      EXPECT_EQ(ipiv, std::vector<int>(20, -7));
    }
  });
}

// Null pointers are clean, and without elements they are legal.
TEST(ReportsByValue, NullPointersHoldNoNan) {
  for_each_kind([](auto kind) {
    using Number = decltype(kind);
    Number b[4] = {number<Number>(nan_value)};
    EXPECT_EQ(
        printed([&] {
          EXPECT_EQ(Exported<Number>::gesv(CblasRowMajor, 2, 2, nullptr, 1, nullptr, b, 2), -7);
          EXPECT_EQ(Exported<Number>::gesv(CblasRowMajor, 2, 2, nullptr, 1, nullptr, nullptr, 2),
                    -5);
        }),
        wrong_parameter(5, Exported<Number>::name + std::string("_work")));
  });
}

// The layer's own printer.
TEST(LapackeReport, EveryStatus) {
  const auto text_of = [](int status) {
    return printed([&] { qsl_lapacke_xerbla("LAPACKE_some_work", status); });
  };
  EXPECT_EQ(text_of(0), "");
  EXPECT_EQ(text_of(1), "");
  EXPECT_EQ(text_of(INT_MAX), "");
  EXPECT_EQ(text_of(-1), "Wrong parameter 1 in LAPACKE_some_work\n");
  EXPECT_EQ(text_of(-8), "Wrong parameter 8 in LAPACKE_some_work\n");
  EXPECT_EQ(text_of(-1009), "Wrong parameter 1009 in LAPACKE_some_work\n");
  EXPECT_EQ(text_of(-1010), "Not enough memory to allocate work array in LAPACKE_some_work\n");
  EXPECT_EQ(text_of(-1011), "Not enough memory to transpose matrix in LAPACKE_some_work\n");
  EXPECT_EQ(text_of(-1012), "Wrong parameter 1012 in LAPACKE_some_work\n");
}

}  // namespace
}  // namespace lapack_test
