// The lines of verbose mode. A child process prints each line as it should be, then makes the call.
#include <cstdlib>
#include <sstream>

#include "qsl/qsl.h"
#include "runtime/messages/crt.h"
#include "tests/frame/support.h"

namespace {

using frame_test::output_of_child;
using frame_test::set_variable;

double a[6] = {1, 2, 3, 4, 5, 6}, b[8] = {1, 1, 1, 1, 1, 1, 1, 1}, c[12];
complex_double zalpha = {1, 0}, zbeta = {0, 0}, z[12];
complex_float calpha = {1, 0}, cbeta = {0, 0}, w[12];

const void* at(const void* p) { return p; }

// A question mark stands for an address that only the library knows.
int make_calls() {
  const int m = 3, n = 4, k = 2, ldb = 4, one = 1, bad = -5;
  const double alpha = 1, beta = 0;
  qsl_printf("expected DGEMM(n,T,3,4,2,%p,%p,3,%p,4,%p,%p,3)\n", at(&alpha), at(a), at(b),
             at(&beta), at(c));
  DGEMM("n", "T", &m, &n, &k, &alpha, a, &m, b, &ldb, &beta, c, &m);

  qsl_printf("expected DGEMM(N,c,3,-5,2,%p,%p,3,%p,4,%p,%p,3)\n", at(&alpha), at(a), at(b),
             at(&beta), at(c));
  DGEMM("N", "c", &m, &bad, &k, &alpha, a, &m, b, &ldb, &beta, c, &m);

  qsl_printf("expected DGEMM(N,N,0,4,2,%p,%p,1,%p,2,%p,%p,1)\n", at(&alpha), at(a), at(b),
             at(&beta), at(c));
  DGEMM("N", "N", nullptr, &n, &k, &alpha, a, &one, b, &k, &beta, c, &one);

  qsl_printf("expected DGEMM(N,T,3,4,2,?,%p,3,%p,4,?,%p,3)\n", at(a), at(b), at(c));
  cblas_dgemm(CblasColMajor, CblasNoTrans, CblasTrans, 3, 4, 2, 1, a, 3, b, 4, 0, c, 3);

  // By rows: operands, options and sizes change places.
  qsl_printf("expected DGEMM(C,N,4,3,2,?,%p,6,%p,5,?,%p,7)\n", at(b), at(a), at(c));
  cblas_dgemm(CblasRowMajor, CblasNoTrans, CblasConjTrans, 3, 4, 2, 0, a, 5, b, 6, 1, c, 7);

  qsl_printf("expected ZGEMM(C,T,1,2,3,%p,%p,3,%p,2,%p,%p,1)\n", at(&zalpha), at(z), at(z + 3),
             at(&zbeta), at(z + 9));
  cblas_zgemm(CblasColMajor, CblasConjTrans, CblasTrans, 1, 2, 3, &zalpha, z, 3, z + 3, 2, &zbeta,
              z + 9, 1);

  qsl_printf("expected CGEMM(N,T,2,1,3,%p,%p,2,%p,1,%p,%p,2)\n", at(&calpha), at(w + 3), at(w),
             at(&cbeta), at(w + 9));
  cblas_cgemm(CblasRowMajor, CblasTrans, CblasNoTrans, 1, 2, 3, &calpha, w, 1, w + 3, 2, &cbeta,
              w + 9, 2);

  // The C-style entries turn a call down before it is one of the routine.
  qsl_printf("nothing\n");
  cblas_zgemm(CblasColMajor, CblasNoTrans, CblasNoTrans, -1, 2, 3, &zalpha, z, 3, z, 2, &zbeta, z,
              1);
  return 0;
}

const std::string turned_down =
    "\nArvex QSL ERROR: Parameter 4 was incorrect on entry to DGEMM .\n";
const std::string turned_down_too =
    "nothing\n\nArvex QSL ERROR: Parameter 4 was incorrect on entry to cblas_zgemm.\n";

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

TEST(Matches, Patterns) {
  EXPECT_TRUE(matches("a(?,3,?,4)", "a(0x12,3,0,4)"));
  EXPECT_FALSE(matches("a(?,3,?,4)", "a(0x12,4,0,4)"));
  EXPECT_FALSE(matches("a(?)", "a(1)b"));
}

TEST(VerboseProducts, EveryCallHasItsLine) {
  set_variable("QSL_VERBOSE", "1");
  int status = -1;
  std::istringstream text(output_of_child("--calls", &status));
  set_variable("QSL_VERBOSE", nullptr);
  EXPECT_EQ(status, 0);
  const std::string before = "QSL_VERBOSE ";
  const std::string expected = "expected ";
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
      std::string report;
      ASSERT_TRUE(std::getline(text, report));
      EXPECT_EQ(line + "\n" + report + "\n", turned_down);
      ASSERT_TRUE(std::getline(text, line));
    }
    ASSERT_EQ(line.rfind(before, 0), 0u) << line;
    line.erase(0, before.size());
    const std::size_t end = line.find(')');
    ASSERT_NE(end, std::string::npos) << line;
    EXPECT_TRUE(matches(call, line.substr(0, end + 1))) << line << " for " << call;
    EXPECT_NE(line.find("s CNR:", end), std::string::npos) << line;
  }
  EXPECT_EQ(calls, 7);
  std::string rest = call + "\n";
  while (std::getline(text, line)) rest += line + "\n";
  EXPECT_EQ(rest, turned_down_too);
}

TEST(VerboseProducts, WithoutVerboseModeThereAreReportsAlone) {
  for (const char* value : {static_cast<const char*>(nullptr), "0"}) {
    set_variable("QSL_VERBOSE", value);
    std::istringstream text(output_of_child("--calls"));
    set_variable("QSL_VERBOSE", nullptr);
    std::string others;
    for (std::string line; std::getline(text, line);) {
      if (line.rfind("expected ", 0) != 0) others += line + "\n";
    }
    EXPECT_EQ(others, turned_down + turned_down_too);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && std::string(argv[1]) == "--calls") return make_calls();
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
