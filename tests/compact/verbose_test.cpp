// The lines of verbose mode. A child process prints each line as it should be, then makes the call.
#include <sstream>

#include "qsl/qsl.h"
#include "runtime/messages/crt.h"
#include "tests/frame/support.h"

namespace {

using frame_test::output_of_child;
using frame_test::set_variable;

// Places for two matrices of order 2 in any format.
complex_double first[4], second[4];
complex_double* matrices[2] = {first, second};
double ap[64], bp[64];
const complex_double alpha = {1, 0};

const void* at(const void* p) { return p; }

void make_copies() {
  // Selectors show as characters, formats as their indices.
  qsl_printf("expected ZGEPACK_COMPACT(C,2,1,%p,2,%p,3,0,2)\n", at(matrices), at(ap));
  qsl_zgepack_compact(CblasColMajor, 2, 1, matrices, 2, ap, 3, QSL_COMPACT_SSE, 2);
  qsl_printf("expected ZGEPACK_COMPACT(R,1,2,%p,2,%p,3,1,2)\n", at(matrices), at(ap));
  qsl_zgepack_compact(CblasRowMajor, 1, 2, matrices, 2, ap, 3, QSL_COMPACT_AVX, 2);
  qsl_printf("expected ZGEUNPACK_COMPACT(C,2,1,%p,2,%p,3,2,1)\n", at(matrices), at(ap));
  qsl_zgeunpack_compact(CblasColMajor, 2, 1, matrices, 2, ap, 3, QSL_COMPACT_AVX512, 1);
  qsl_printf("expected ZGEUNPACK_COMPACT(R,1,2,%p,2,%p,3,0,2)\n", at(matrices), at(ap));
  qsl_zgeunpack_compact(CblasRowMajor, 1, 2, matrices, 2, ap, 3, QSL_COMPACT_SSE, 2);

  // So does a format that does not exist, and a call that has nothing to do has its line.
  qsl_printf("expected ZGEPACK_COMPACT(C,0,-1,%p,2,%p,3,-1,2)\n", at(matrices), at(ap));
  qsl_zgepack_compact(CblasColMajor, 0, -1, matrices, 2, ap, 3, QSL_COMPACT_SSE - 1, 2);
  qsl_printf("expected ZGEUNPACK_COMPACT(R,2,2,%p,2,%p,2,3,0)\n", at(matrices), at(ap));
  qsl_zgeunpack_compact(CblasRowMajor, 2, 2, matrices, 2, ap, 2, QSL_COMPACT_AVX512 + 1, 0);
}

void factor() {
  // Layout and format are the numbers that came.
  int info = 7;
  qsl_printf("expected QSL_ZGETRFNP_COMPACT(102,2,1,%p,3,0,182,2)\n", at(ap));
  qsl_zgetrfnp_compact(CblasColMajor, 2, 1, ap, 3, &info, QSL_COMPACT_AVX, 2);
  qsl_printf("expected QSL_ZGETRFNP_COMPACT(101,2,2,%p,2,0,183,1)\n", at(ap));
  qsl_zgetrfnp_compact(CblasRowMajor, 2, 2, ap, 2, &info, QSL_COMPACT_AVX512, 1);
  qsl_printf("expected QSL_ZGETRFNP_COMPACT(7,0,-1,%p,2,0,5,0)\n", at(ap));
  qsl_zgetrfnp_compact(7, 0, -1, ap, 2, &info, 5, 0);
}

void solve() {
  qsl_printf("expected ZTRSM_COMPACT(C,L,U,N,N,2,1,%p,%p,3,%p,4,1,2)\n", at(&alpha), at(ap),
             at(bp));
  qsl_ztrsm_compact(CblasColMajor, CblasLeft, CblasUpper, CblasNoTrans, CblasNonUnit, 2, 1, &alpha,
                    ap, 3, bp, 4, QSL_COMPACT_AVX, 2);
  qsl_printf("expected ZTRSM_COMPACT(R,R,L,T,U,1,2,%p,%p,2,%p,2,0,2)\n", at(&alpha), at(ap),
             at(bp));
  qsl_ztrsm_compact(CblasRowMajor, CblasRight, CblasLower, CblasTrans, CblasUnit, 1, 2, &alpha, ap,
                    2, bp, 2, QSL_COMPACT_SSE, 2);
  qsl_printf("expected ZTRSM_COMPACT(C,R,U,C,U,1,2,%p,%p,2,%p,2,2,1)\n", at(&alpha), at(ap),
             at(bp));
  qsl_ztrsm_compact(CblasColMajor, CblasRight, CblasUpper, CblasConjTrans, CblasUnit, 1, 2, &alpha,
                    ap, 2, bp, 2, QSL_COMPACT_AVX512, 1);
  qsl_printf("expected ZTRSM_COMPACT(R,L,L,N,N,0,2,%p,%p,2,%p,2,3,1)\n", at(&alpha), at(ap),
             at(bp));
  qsl_ztrsm_compact(CblasRowMajor, CblasLeft, CblasLower, CblasNoTrans, CblasNonUnit, 0, 2, &alpha,
                    ap, 2, bp, 2, QSL_COMPACT_AVX512 + 1, 1);
}

constexpr int lines = 13;

int make_calls() {
  make_copies();
  factor();
  solve();
  // These two work on no data.
  qsl_printf("nothing\n");
  const int format = qsl_get_format_compact();
  return qsl_zget_size_compact(2, 2, format, 1) > 0 ? 0 : 1;
}

TEST(VerboseCompact, EveryCallHasItsLine) {
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
    ASSERT_TRUE(std::getline(text, line));
    if (calls == 1) {
      EXPECT_EQ(line.rfind("QSL_VERBOSE Arvex(R) QSL ", 0), 0u) << "the banner: " << line;
      ASSERT_TRUE(std::getline(text, line));
    }
    const std::size_t end = line.find(')');
    ASSERT_NE(end, std::string::npos) << line;
    EXPECT_EQ(line.substr(0, end + 1), before + call.substr(expected.size()));
    EXPECT_NE(line.find("s CNR:", end), std::string::npos) << line;
  }
  EXPECT_EQ(calls, lines);
  EXPECT_EQ(call, "nothing");
  EXPECT_FALSE(std::getline(text, line)) << line;
}

TEST(VerboseCompact, WithoutVerboseModeNothingIsPrinted) {
  for (const char* value : {static_cast<const char*>(nullptr), "0"}) {
    set_variable("QSL_VERBOSE", value);
    std::istringstream text(output_of_child("--calls"));
    set_variable("QSL_VERBOSE", nullptr);
    std::string others;
    for (std::string line; std::getline(text, line);) {
      if (line.rfind("expected ", 0) != 0) others += line + "\n";
    }
    EXPECT_EQ(others, "nothing\n");
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && std::string(argv[1]) == "--calls") return make_calls();
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
