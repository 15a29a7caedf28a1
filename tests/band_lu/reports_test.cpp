// What is said of bad arguments, that nothing else happens, and what is done without memory.
#include <climits>
#include <sstream>
#include <string>

#include "lapack/band/routines.h"
#include "tests/band_lu/problem.h"
#include "tests/frame/support.h"
#include "tests/memory/support.h"

namespace band_lu_test {
namespace {

using frame_test::output_of_child;
using frame_test::printed;
using frame_test::set_variable;
using memory_test::CountingBackEnd;

std::string report(int position) {
  return "\nArvex QSL ERROR: Parameter " + std::to_string(position) +
         " was incorrect on entry to ZGBSV .\n";
}

struct Call {
  int n = 3, kl = 1, ku = 1, nrhs = 1, ldab = 4, ldb = 3;

  int run(Number* ab, int* ipiv, Number* b) const {
    int info = 55;
    ZGBSV(&n, &kl, &ku, &nrhs, ab, &ldab, ipiv, b, &ldb, &info);
    return info;
  }
};

TEST(BandSystemReports, TheFirstBadArgumentIsNamed) {
  const int positions[] = {1, 2, 3, 4, 6, 9};
  for (unsigned bad = 1; bad < 64; bad++) {
    Call call;
    if (bad & 1) call.n = -1;
    if (bad & 2) call.kl = INT_MIN;
    if (bad & 4) call.ku = -1;
    if (bad & 8) call.nrhs = -2;
    if (bad & 16) call.ldab = 2 * 1 + 1;
    if (bad & 32) call.ldb = 2;
    if (bad & 16 && (bad & 6)) call.ldab = -1;
    const int position = positions[__builtin_ctz(bad)];
    int info = 0;
    EXPECT_EQ(printed([&] { info = call.run(nullptr, nullptr, nullptr); }), report(position))
        << bad;
    EXPECT_EQ(info, -position) << bad;
  }
}

TEST(BandSystemReports, RowsOfTheArrays) {
  int info = 0;
  const auto expect = [&](const Call& call, int position) {
    const std::string text = printed([&] { info = call.run(nullptr, nullptr, nullptr); });
    EXPECT_EQ(text, position == 0 ? "" : report(position));
    EXPECT_EQ(info, -position);
  };
  expect({0, 0, 0, 0, 1, 1}, 0);
  expect({0, 0, 0, 0, 0, 1}, 6);
  expect({0, 0, 0, 0, 1, 0}, 9);
  expect({0, 2, 3, 0, 8, 1}, 0);
  expect({0, 2, 3, 0, 7, 1}, 6);
  // Sums that are too large for an integer.
  expect({0, 1 << 30, 0, 0, INT_MAX, 1}, 6);
  expect({0, INT_MAX, INT_MAX, 0, INT_MAX, 1}, 6);
  expect({0, 0, INT_MAX, 0, INT_MAX, 1}, 6);
  expect({0, (1 << 30) - 1, 0, 0, INT_MAX, 1}, 0);
  expect({0, 0, INT_MAX - 1, 0, INT_MAX, 1}, 0);
}

TEST(BandSystemReports, NullPointersCountAsZero) {
  const int one = 1;
  int info = 3;
  EXPECT_EQ(printed([&] {
              ZGBSV(nullptr, nullptr, nullptr, nullptr, nullptr, &one, nullptr, nullptr, &one,
                    &info);
            }),
            "");
  EXPECT_EQ(info, 0);
  EXPECT_EQ(printed([&] {
              ZGBSV(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &one,
                    nullptr);
            }),
            report(6));
}

class BandSystemMemory : public memory_test::Memory {};

int solve(int n, int kl, int ku, int nrhs, Number* ab, int ldab, int* ipiv, Number* b, int ldb) {
  return Call{n, kl, ku, nrhs, ldab, ldb}.run(ab, ipiv, b);
}

// Wide bands are factored without blocks then, and nothing is said: only the products of a block
// would take further memory.
TEST_F(BandSystemMemory, WithoutMemoryTheSolutionIsRight) {
  for (const Shape& shape : blocked_shapes()) {
    CountingBackEnd counting;
    CountingBackEnd::fail_all();
    EXPECT_EQ(printed([&] { check(solve, shape, 2); }), "");
    EXPECT_GT(CountingBackEnd::refused(), 0) << shape;
    CountingBackEnd::fail_none();
    QSL_Free_Buffers();
    EXPECT_EQ(CountingBackEnd::live(), 0);
  }
}

TEST_F(BandSystemMemory, EveryRequestFailsOnce) {
  for (int fail_at = 0; fail_at < 20; fail_at++) {
    CountingBackEnd counting;
    CountingBackEnd::fail(fail_at);
    printed([] { check(solve, {260, 80, 80}, 1); });
    ASSERT_FALSE(HasFailure());
    CountingBackEnd::fail_none();
    const bool none_failed = CountingBackEnd::refused() == 0;
    QSL_Free_Buffers();
    ASSERT_EQ(CountingBackEnd::live(), 0) << fail_at;
    if (none_failed) return;
  }
  FAIL() << "the system was never solved without a failure";
}

TEST_F(BandSystemMemory, NarrowBandsTakeNone) {
  CountingBackEnd counting;
  CountingBackEnd::fail_all();
  ASSERT_NO_FATAL_FAILURE(check(solve, {200, 10, 10}, 3));
  EXPECT_EQ(CountingBackEnd::refused(), 0);
}

Number ab[12], b[3];
int ipiv[3];

const void* at(const void* p) { return p; }

int make_calls() {
  for (int j = 0; j < 3; j++) ab[4 * j + 2] = {1, 0};
  Call call;
  qsl_printf("expected ZGBSV(3,1,1,1,%p,4,%p,%p,3,0)\n", at(ab), at(ipiv), at(b));
  call.run(ab, ipiv, b);
  for (int j = 0; j < 12; j++) ab[j] = {0, 0};
  qsl_printf("expected ZGBSV(3,1,1,1,%p,4,%p,%p,3,1)\n", at(ab), at(ipiv), at(b));
  call.run(ab, ipiv, b);
  call.ku = -4;
  qsl_printf("expected ZGBSV(3,1,-4,1,%p,4,%p,%p,3,-3)\n", at(ab), at(ipiv), at(b));
  call.run(ab, ipiv, b);
  return 0;
}

TEST(VerboseBandSystem, EveryCallHasItsLine) {
  set_variable("QSL_VERBOSE", "1");
  std::istringstream text(output_of_child("--calls"));
  set_variable("QSL_VERBOSE", nullptr);
  const std::string before = "QSL_VERBOSE ", expected = "expected ";
  std::string call, line, others;
  int calls = 0;
  while (std::getline(text, line)) {
    if (line.rfind(expected, 0) == 0) {
      call = line.substr(expected.size());
    } else if (line.rfind(before + "ZGBSV", 0) == 0) {
      calls++;
      EXPECT_EQ(line.substr(before.size(), call.size()), call);
      EXPECT_NE(line.find("s CNR:"), std::string::npos) << line;
    } else if (line.rfind(before, 0) != 0) {
      others += line + "\n";
    }
  }
  EXPECT_EQ(calls, 3);
  EXPECT_EQ(others, report(3));
}

TEST(VerboseBandSystem, WithoutVerboseModeThereAreReportsAlone) {
  std::istringstream text(output_of_child("--calls"));
  std::string others;
  for (std::string line; std::getline(text, line);) {
    if (line.rfind("expected ", 0) != 0) others += line + "\n";
  }
  EXPECT_EQ(others, report(3));
}

}  // namespace
}  // namespace band_lu_test

int main(int argc, char** argv) {
  if (argc == 2 && std::string(argv[1]) == "--calls") return band_lu_test::make_calls();
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
