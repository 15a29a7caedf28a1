// Whether the C-style entries search for NaN: decided once a process.
#include "lapack/c_interface/c_interface.h"
#include "qsl/qsl.h"
#include "runtime/messages/crt.h"
#include "tests/lapack/children.h"
#include "tests/lapack/numbers.h"

namespace lapack_test {

int print_nan_decision() {
  const int first = qsl_lapacke_nancheck_enabled();
  frame_test::set_variable("LAPACKE_NANCHECK", first != 0 ? "0" : "1");
  const int later = qsl_lapacke_nancheck_enabled();
  double a[1] = {nan_value}, b[1] = {1};
  complex_double z[1] = {{0, nan_value}}, w[1] = {{1, 0}};
  double plain[1] = {2}, nan[1] = {nan_value};
  int ipiv[1] = {-5};
  const int real = LAPACKE_dgesv(CblasColMajor, 1, 1, a, 1, ipiv, b, 1);
  const int complex = LAPACKE_zgesv(CblasRowMajor, 1, 1, z, 1, ipiv, w, 1);
  const int right = LAPACKE_dgesv(CblasColMajor, 1, 1, plain, 1, ipiv, nan, 1);
  qsl_printf("%d %d %d %d %d %d\n", first, later, real, complex, right, ipiv[0]);
  return 0;
}

namespace {

std::string decision(const char* value) {
  frame_test::set_variable("LAPACKE_NANCHECK", value);
  const std::string text = frame_test::output_of_child("--nan");
  frame_test::set_variable("LAPACKE_NANCHECK", nullptr);
  return text;
}

constexpr char on[] = "1 1 -4 -4 -7 -5\n", off[] = "0 0 0 0 0 1\n";

TEST(NanDecision, OnWithoutTheVariable) {
  EXPECT_EQ(decision(nullptr), on);
  EXPECT_EQ(decision(""), on);
}

TEST(NanDecision, OnForEveryNumberButZero) {
  for (const char* value : {"1", "7", "-1", " 1", "+2", "1abc", "010", "99999999999999999999"}) {
    EXPECT_EQ(decision(value), on) << value;
  }
}

TEST(NanDecision, OffForZeroAndForWhatIsNoNumber) {
  for (const char* value :
       {"0", "abc", "00", "-0", " ", "0x1", "0.9", "no", "yes", "on", "a1", "- 1"}) {
    EXPECT_EQ(decision(value), off) << value;
  }
}

// A text of 255 characters is read, a longer one is not.
TEST(NanDecision, OnForATextThatIsTooLong) {
  EXPECT_EQ(decision(std::string(255, '0').c_str()), off);
  EXPECT_EQ(decision(std::string(256, '0').c_str()), on);
  EXPECT_EQ(decision(std::string(1000, '0').c_str()), on);
}

}  // namespace
}  // namespace lapack_test

int main(int argc, char** argv) {
  const std::string wanted = argc == 2 ? argv[1] : "";
  if (wanted == "--verbose") return lapack_test::make_verbose_calls();
  if (wanted == "--copies") return lapack_test::make_copies();
  if (wanted == "--nan") return lapack_test::print_nan_decision();
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
