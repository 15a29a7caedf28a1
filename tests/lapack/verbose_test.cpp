// The lines of verbose mode. A child process prints each line as it should be, then makes the call.
#include <map>
#include <set>

#include "lapack/c_interface/c_interface.h"
#include "lapack/solvers.h"
#include "qsl/qsl.h"
#include "runtime/messages/crt.h"
#include "tests/lapack/children.h"

namespace lapack_test {
namespace {

using frame_test::output_of_child;
using frame_test::set_variable;

const void* at(const void* p) { return p; }

}  // namespace

int make_verbose_calls() {
  const int two = 2, one = 1, bad = -3, three = 3;
  int ipiv[8], info = 77;
  double a[6] = {1, 2, 3, 4, 5, 6}, b[4] = {1, 2, 3, 4}, zeros[4] = {};
  complex_double z[4] = {{1, 0}, {2, 1}, {0, 3}, {4, 0}}, w[4] = {{1, 0}, {2, 0}};

  qsl_printf("expected DGETRF(3,2,%p,3,%p,0)\n", at(a), at(ipiv));
  DGETRF(&three, &two, a, &three, ipiv, &info);
  qsl_printf("expected DGETRF(2,2,%p,2,%p,1)\n", at(zeros), at(ipiv));
  DGETRF(&two, &two, zeros, &two, ipiv, &info);
  // Also one that the checks turn down.
  qsl_printf("report 2 DGETRF\n");
  qsl_printf("expected DGETRF(2,-3,%p,2,%p,-2)\n", at(a), at(ipiv));
  DGETRF(&two, &bad, a, &two, ipiv, &info);
  qsl_printf("expected DGETRF(0,2,%p,2,%p,0)\n", at(a), at(ipiv));
  DGETRF(nullptr, &two, a, &two, ipiv, &info);
  qsl_printf("expected DGETRF(2,0,%p,2,%p,0)\n", at(a), at(ipiv));
  DGETRF(&two, nullptr, a, &two, ipiv, &info);
  // A null pointer is shown as 0, whatever it would have got.
  qsl_printf("report 4 DGETRF\n");
  qsl_printf("expected DGETRF(2,2,%p,0,%p,0)\n", at(a), at(ipiv));
  DGETRF(&two, &two, a, nullptr, ipiv, nullptr);
  qsl_printf("expected DGETRF(2,2,%p,2,%p,0)\n", at(zeros), at(ipiv));
  DGETRF(&two, &two, zeros, &two, ipiv, nullptr);

  a[0] = 3, a[1] = 1, a[2] = 1, a[3] = 2;
  qsl_printf("expected DGESV(2,1,%p,2,%p,%p,2,0)\n", at(a), at(ipiv), at(b));
  DGESV(&two, &one, a, &two, ipiv, b, &two, &info);
  qsl_printf("expected DGESV(2,2,%p,2,%p,%p,2,1)\n", at(zeros), at(ipiv), at(b));
  DGESV(&two, &two, zeros, &two, ipiv, b, &two, &info);
  qsl_printf("report 7 DGESV \n");
  qsl_printf("expected DGESV(2,2,%p,3,%p,%p,1,-7)\n", at(zeros), at(ipiv), at(b));
  DGESV(&two, &two, zeros, &three, ipiv, b, &one, &info);
  qsl_printf("expected ZGESV(2,1,%p,2,%p,%p,3,0)\n", at(z), at(ipiv), at(w));
  ZGESV(&two, &one, z, &two, ipiv, w, &three, &info);
  qsl_printf("report 1 ZGESV \n");
  qsl_printf("expected ZGESV(-3,1,%p,2,%p,%p,3,-1)\n", at(z), at(ipiv), at(w));
  ZGESV(&bad, &one, z, &two, ipiv, w, &three, &info);

  // Solves with factors have none of their own.
  DGETRS("N", &two, &one, a, &two, ipiv, b, &two, &info);
  // The C-style entries call the solvers; by rows their buffers are known to the library alone.
  z[0] = {1, 0}, z[1] = {0, 1}, z[2] = {0, 0}, z[3] = {2, 0};
  qsl_printf("expected ZGESV(2,1,%p,2,%p,%p,2,0)\n", at(z), at(ipiv), at(w));
  LAPACKE_zgesv(CblasColMajor, 2, 1, z, 2, ipiv, w, 2);
  a[0] = 3, a[1] = 1, a[2] = 1, a[3] = 2;
  qsl_printf("expected DGESV(2,1,?,2,%p,?,2,0)\n", at(ipiv));
  LAPACKE_dgesv(CblasRowMajor, 2, 1, a, 3, ipiv, b, 1);
  // What the layer turns down is no call of the solver.
  LAPACKE_dgesv(CblasRowMajor, 2, 1, a, 1, ipiv, b, 1);
  return 0;
}

int make_copies() {
  for (int n = 1; n <= 12; n++) {
    const auto order = static_cast<std::size_t>(n);
    std::vector<double> a(order * order), b(order);
    std::vector<complex_double> z(order * order), w(order), band(order);
    std::vector<int> ipiv(order);
    for (std::size_t i = 0; i < order; i++) {
      a[i * order + i] = 1;
      z[i * order + i] = band[i] = {1, 0};
    }
    LAPACKE_dgesv(CblasRowMajor, n, 1, a.data(), n, ipiv.data(), b.data(), 1);
    LAPACKE_zgesv(CblasRowMajor, n, 1, z.data(), n, ipiv.data(), w.data(), 1);
    LAPACKE_zgbsv(CblasRowMajor, n, 0, 0, 1, band.data(), n, ipiv.data(), w.data(), 1);
    // Kept buffers would come again, where they are.
    QSL_Free_Buffers();
  }
  return 0;
}

namespace {

bool matches(const std::string& pattern, const std::string& text) {
  std::size_t at = 0;
  for (const char letter : pattern) {
    if (letter == '?') {
      at = text.find(',', at);
      if (at == std::string::npos) return false;
    } else if (at >= text.size() || text[at++] != letter) {
      return false;
    }
  }
  return at == text.size();
}

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> result;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) result.push_back(line);
  return result;
}

const std::string last_line = "Wrong parameter 5 in LAPACKE_dgesv_work";

TEST(VerboseSolvers, EveryCallHasItsLine) {
  set_variable("QSL_VERBOSE", "1");
  int status = -1;
  const std::vector<std::string> lines = lines_of(output_of_child("--verbose", &status));
  set_variable("QSL_VERBOSE", nullptr);
  ASSERT_EQ(status, 0);
  std::size_t next = 0;
  const auto take = [&] { return next < lines.size() ? lines[next++] : std::string("nothing"); };
  int calls = 0;
  while (next < lines.size() && lines[next] != last_line) {
    std::string line = take(), bad;
    if (line.rfind("report ", 0) == 0) {
      bad = "Arvex QSL ERROR: Parameter " + line.substr(7, 1) + " was incorrect on entry to " +
            line.substr(9) + ".";
      line = take();
    }
    ASSERT_EQ(line.rfind("expected ", 0), 0u) << line;
    const std::string call = line.substr(9);
    if (!bad.empty()) {
      EXPECT_EQ(take(), "");
      EXPECT_EQ(take(), bad);
    }
    line = take();
    if (calls++ == 0) {
      EXPECT_EQ(line.rfind("QSL_VERBOSE Arvex(R) QSL ", 0), 0u) << "the banner: " << line;
      line = take();
    }
    ASSERT_EQ(line.rfind("QSL_VERBOSE ", 0), 0u) << line;
    const std::size_t end = line.find(')');
    ASSERT_NE(end, std::string::npos) << line;
    EXPECT_TRUE(matches(call, line.substr(12, end - 11))) << line << " for " << call;
    EXPECT_NE(line.find("s CNR:", end), std::string::npos) << line;
  }
  EXPECT_EQ(calls, 14);
  EXPECT_EQ(take(), last_line);
  EXPECT_EQ(next, lines.size());
}

TEST(VerboseSolvers, WithoutVerboseModeThereAreReportsAlone) {
  for (const char* value : {static_cast<const char*>(nullptr), "0", "2"}) {
    set_variable("QSL_VERBOSE", value);
    const std::string text = output_of_child("--verbose");
    set_variable("QSL_VERBOSE", nullptr);
    std::string others;
    for (const std::string& line : lines_of(text)) {
      if (line.rfind("expected ", 0) != 0 && line.rfind("report ", 0) != 0) others += line + "\n";
    }
    std::string expected;
    for (const char* bad :
         {"2 was incorrect on entry to DGETRF.", "4 was incorrect on entry to DGETRF.",
          "7 was incorrect on entry to DGESV .", "1 was incorrect on entry to ZGESV ."}) {
      expected += std::string("\nArvex QSL ERROR: Parameter ") + bad + "\n";
    }
    EXPECT_EQ(others, expected + last_line + "\n");
  }
}

// Which arguments of a line, counted from 0, are the matrix and the right-hand sides.
struct Addresses {
  int first, second;
};

// By rows the library works on copies, which lie at multiples of 128 bytes. Only these lines show
// where.
TEST(VerboseSolvers, CopiesLieAtMultiplesOf128Bytes) {
  set_variable("QSL_VERBOSE", "1");
  const std::vector<std::string> lines = lines_of(output_of_child("--copies"));
  set_variable("QSL_VERBOSE", nullptr);
  const std::map<std::string, Addresses> solvers = {
      {"DGESV", {2, 5}}, {"ZGESV", {2, 5}}, {"ZGBSV", {4, 7}}};
  std::map<std::string, std::set<unsigned long>> seen;
  int calls = 0;
  for (const std::string& line : lines) {
    const std::size_t at = line.find(' ') + 1, open = line.find('(', at);
    const auto solver = solvers.find(line.substr(at, open - at));
    if (open == std::string::npos || solver == solvers.end()) continue;
    std::vector<std::string> arguments;
    std::istringstream in(line.substr(open + 1));
    for (std::string argument; std::getline(in, argument, ',');) arguments.push_back(argument);
    ASSERT_GT(arguments.size(), 7u) << line;
    calls++;
    for (const int copy : {solver->second.first, solver->second.second}) {
      const unsigned long address =
          std::stoul(arguments[static_cast<std::size_t>(copy)], nullptr, 16);
      EXPECT_EQ(address % 128, 0u) << line;
      seen[solver->first].insert(address);
    }
  }
  EXPECT_EQ(calls, 3 * 12);
  // Several places of each, as the allocator gives them: otherwise multiples of 128 may be chance.
  for (const auto& [name, addresses] : seen) EXPECT_GT(addresses.size(), 3u) << name;
}

}  // namespace
}  // namespace lapack_test
