// The lines of verbose mode. A child process prints each line as it should be, then makes the call.
#include <sstream>

#include "blas/band/routines.h"
#include "qsl/qsl.h"
#include "runtime/messages/crt.h"
#include "tests/frame/support.h"

namespace {

using frame_test::output_of_child;
using frame_test::set_variable;

complex_double a[12], x[4], y[4], alpha = {2, 0}, beta = {1, 1};

const void* at(const void* p) { return p; }

// A question mark stands for an address that only the library knows.
int make_calls() {
  const int m = 3, n = 4, kl = 1, ku = 0, lda = 3, one = 1, two = -1, bad = -5;
  qsl_printf("expected ZGBMV(n,3,4,1,0,%p,%p,3,%p,1,%p,%p,-1)\n", at(&alpha), at(a), at(x),
             at(&beta), at(y));
  ZGBMV("n", &m, &n, &kl, &ku, &alpha, a, &lda, x, &one, &beta, y, &two);

  qsl_printf("expected ZGBMV(C,3,-5,1,0,%p,%p,3,%p,1,%p,%p,0)\n", at(&alpha), at(a), at(x),
             at(&beta), at(y));
  ZGBMV("C", &m, &bad, &kl, &ku, &alpha, a, &lda, x, &one, &beta, y, nullptr);

  qsl_printf("expected ZGBMV(C,3,4,1,0,%p,%p,3,%p,1,%p,%p,1)\n", at(&alpha), at(a), at(x),
             at(&beta), at(y));
  cblas_zgbmv(CblasColMajor, CblasConjTrans, 3, 4, 1, 0, &alpha, a, 3, x, 1, &beta, y, 1);

  // By rows: sizes and widths change places.
  qsl_printf("expected ZGBMV(T,4,3,0,1,%p,%p,3,%p,1,%p,%p,1)\n", at(&alpha), at(a), at(x),
             at(&beta), at(y));
  cblas_zgbmv(CblasRowMajor, CblasNoTrans, 3, 4, 1, 0, &alpha, a, 3, x, 1, &beta, y, 1);
  qsl_printf("expected ZGBMV(N,4,3,0,1,%p,%p,3,%p,-1,%p,%p,1)\n", at(&alpha), at(a), at(x),
             at(&beta), at(y));
  cblas_zgbmv(CblasRowMajor, CblasTrans, 3, 4, 1, 0, &alpha, a, 3, x, -1, &beta, y, 1);

  // The conjugates of x and the factors lie elsewhere.
  qsl_printf("expected ZGBMV(N,4,3,0,1,?,%p,3,?,1,?,%p,1)\n", at(a), at(y));
  cblas_zgbmv(CblasRowMajor, CblasConjTrans, 3, 4, 1, 0, &alpha, a, 3, x, -1, &beta, y, 1);

  // A call that ends before the routine has no line.
  qsl_printf("nothing\n");
  const complex_double none = {0, 0}, unchanged = {1, 0};
  cblas_zgbmv(CblasColMajor, CblasNoTrans, 3, 4, 1, 0, &none, a, 3, x, 1, &unchanged, y, 1);
  cblas_zgbmv(CblasColMajor, CblasNoTrans, 0, 4, 1, 0, &alpha, a, 3, x, 1, &beta, y, 1);
  cblas_zgbmv(CblasColMajor, CblasNoTrans, -1, 4, 1, 0, &alpha, a, 3, x, 1, &beta, y, 1);

  // One with a bad option reaches the routine, with the option unset: it shows as a blank.
  qsl_printf("an option\n");
  cblas_zgbmv(CblasRowMajor, 0, 3, 4, 1, 0, &alpha, a, 3, x, 1, &beta, y, 1);
  return 0;
}

std::string report(const char* position, const char* name) {
  return std::string("\nArvex QSL ERROR: Parameter ") + position + " was incorrect on entry to " +
         name + ".\n";
}

bool matches(const std::string& pattern, const std::string& text) {
  std::size_t where = 0;
  for (const char letter : pattern) {
    if (letter == '?') {
      where = text.find(',', where);
      if (where == std::string::npos) return false;
    } else if (where >= text.size() || text[where++] != letter) {
      return false;
    }
  }
  return where == text.size();
}

TEST(VerboseBand, EveryCallThatReachesTheRoutineHasItsLine) {
  set_variable("QSL_VERBOSE", "1");
  int status = -1;
  std::istringstream text(output_of_child("--calls", &status));
  set_variable("QSL_VERBOSE", nullptr);
  EXPECT_EQ(status, 0);
  const std::string before = "QSL_VERBOSE ", expected = "expected ";
  std::string call, line;
  int calls = 0;
  while (std::getline(text, call) && call.rfind(expected, 0) == 0) {
    calls++;
    call.erase(0, expected.size());
    ASSERT_TRUE(std::getline(text, line));
    if (calls == 1) {
      EXPECT_EQ(line.rfind("QSL_VERBOSE Arvex(R) QSL ", 0), 0u) << "the banner: " << line;
      ASSERT_TRUE(std::getline(text, line));
    }
    if (calls == 2) {
      std::string second;
      ASSERT_TRUE(std::getline(text, second));
      EXPECT_EQ(line + "\n" + second + "\n", report("3", "ZGBMV "));
      ASSERT_TRUE(std::getline(text, line));
    }
    ASSERT_EQ(line.rfind(before, 0), 0u) << line;
    line.erase(0, before.size());
    const std::size_t end = line.find(')');
    ASSERT_NE(end, std::string::npos) << line;
    EXPECT_TRUE(matches(call, line.substr(0, end + 1))) << line << " for " << call;
    EXPECT_NE(line.find("s CNR:", end), std::string::npos) << line;
  }
  EXPECT_EQ(calls, 6);
  std::string rest = call + "\n";
  while (std::getline(text, line)) rest += line + "\n";
  const std::string start = "nothing\n" + report("3", "cblas_zgbmv") + "an option\n" +
                            report("2", "cblas_zgbmv") + report("1", "ZGBMV ") +
                            "QSL_VERBOSE ZGBMV( ,4,3,0,1,";
  EXPECT_EQ(rest.substr(0, start.size()), start);
  EXPECT_EQ(rest.find('\n', start.size()), rest.size() - 1) << rest;
  EXPECT_NE(rest.find("s CNR:", start.size()), std::string::npos) << rest;
}

TEST(VerboseBand, WithoutVerboseModeThereAreReportsAlone) {
  for (const char* value : {static_cast<const char*>(nullptr), "0"}) {
    set_variable("QSL_VERBOSE", value);
    std::istringstream text(output_of_child("--calls"));
    set_variable("QSL_VERBOSE", nullptr);
    std::string others;
    for (std::string line; std::getline(text, line);) {
      if (line.rfind("expected ", 0) != 0) others += line + "\n";
    }
    EXPECT_EQ(others, report("3", "ZGBMV ") + "nothing\n" + report("3", "cblas_zgbmv") +
                          "an option\n" + report("2", "cblas_zgbmv") + report("1", "ZGBMV "));
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && std::string(argv[1]) == "--calls") return make_calls();
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
