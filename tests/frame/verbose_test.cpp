// Verbose lines: times, mode names, the banner's parts, the frequency in it, and the wrappers.
#include "runtime/verbose/verbose.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <sstream>

#include "runtime/verbose/clock.h"
#include "runtime/verbose/wrapper.h"
#include "tests/frame/support.h"

// Routines of the test's own, of each form and with several results. Not in an unnamed namespace:
// wrapper.h says why.
namespace wrapped_routines {

struct Half {
  static constexpr char line[] = "HALF(%d)";
  static double run(int n) { return n / 2.0; }
};
struct Clear {
  static constexpr char line[] = "CLEAR(%c,%d)";
  static void run(char, int n) { qsl_printf("clearing %d\n", n); }
};
struct First {
  static constexpr char line[] = "FIRST(%d)";
  static const char* run(int) { return "first"; }
};
struct SolveCall {
  int n;
  qsl::Info info;

  void run() const { info.set(n - 3); }
  void print(qsl::VerboseCall& timed) const { timed.print("SOLVE(%d,%d)", n, info.value()); }
};

int call_all() {
  int status = 77;
  const double half = qsl::wrapped<Half>(5);
  qsl_printf("half %d\n", static_cast<int>(half * 2));
  qsl::wrapped<Clear>('c', 4);
  qsl::wrapped<Clear>('\0', 5);
  qsl_printf("%s\n", qsl::wrapped<First>(1));
  const SolveCall call = {1, qsl::Info(&status)}, without_status = {1, qsl::Info(nullptr)};
  qsl::wrapped(&call);
  qsl_printf("status %d\n", status);
  qsl::wrapped_with_reports(&without_status);
  return 0;
}

}  // namespace wrapped_routines

namespace {

using namespace frame_test;

class Verbose : public Frame {
 protected:
  // The line of one call, without the banner that the first one brings.
  static std::string line(const char* call, double seconds) {
    const std::string text = printed([=] { qsl_verbose_print(0, call, seconds); });
    EXPECT_FALSE(text.empty());
    if (text.empty()) return text;
    const std::size_t start = text.rfind('\n', text.size() - 2);
    return start == std::string::npos ? text : text.substr(start + 1);
  }
  static std::string time_of(double seconds) {
    const std::string text = line("F()", seconds);
    const std::string prefix = "QSL_VERBOSE F() ";
    EXPECT_EQ(text.substr(0, prefix.size()), prefix);
    return text.substr(prefix.size(), text.find(" CNR:") - prefix.size());
  }
};

TEST_F(Verbose, Times) {
  const struct {
    double seconds;
    const char* text;
  } rows[] = {
      {0, "0.00s"},        {-0.0, "0.00s"},       {-1, "0.00s"},         {-1e-9, "0.00s"},
      {2.5, "2.50s"},      {1.0, "1000.00ms"},    {1.001, "1.00s"},      {12345.678, "12345.68s"},
      {0.5, "500.00ms"},   {0.0125, "12.50ms"},   {0.0010625, "1.06ms"}, {0.0005, "500.00us"},
      {2.5e-5, "25.00us"}, {1.0625e-6, "1.06us"}, {5e-7, "500ns"},       {2e-9, "2ns"},
      {1e-12, "0ns"},
  };
  for (const auto& row : rows) EXPECT_EQ(time_of(row.seconds), row.text) << row.seconds;
}

TEST_F(Verbose, AMillisecondAndAMicrosecondAreNotAboveOne) {
  // 2^-10 and 2^-20 scale exactly enough to stay on their side.
  EXPECT_EQ(time_of(0.0009765625), "976.56us");
  EXPECT_EQ(time_of(9.5367431640625e-07), "954ns");
}

TEST_F(Verbose, TheWholeLine) {
  mode(0);
  EXPECT_EQ(line("DDOT(3,0x1,1,0x2,1)", 0.5),
            "QSL_VERBOSE DDOT(3,0x1,1,0x2,1) 500.00ms CNR:OFF Dyn:1 FastMM:1 TID:0  NThr:1\n");
}

TEST_F(Verbose, NamesOfTheModes) {
  const struct {
    int mode;
    const char* name;
  } rows[] = {{0, "OFF"},   {1, "OFF"},         {2, "AUTO"},    {3, "COMPATIBLE"},     {4, "SSE2"},
              {5, "?5"},    {6, "SSSE3"},       {7, "SSE4_1"},  {8, "SSE4_2"},         {9, "AVX"},
              {10, "AVX2"}, {11, "AVX512_MIC"}, {12, "AVX512"}, {13, "AVX512_MIC_E1"}, {14, "?e"},
              {35, "?23"},  {63, "?3f"}};
  for (const auto& row : rows) {
    mode(row.mode);
    const std::string expected = std::string(" CNR:") + row.name + " Dyn:";
    EXPECT_NE(line("F()", 1).find(expected), std::string::npos) << expected;
  }
}

TEST_F(Verbose, ThreadVariablesChangeNothing) {
  set_variable("QSL_NUM_THREADS", "8");
  set_variable("QSL_DYNAMIC", "FALSE");
  set_variable("QSL_DOMAIN_NUM_THREADS", "QSL_DOMAIN_BLAS=4");
  EXPECT_NE(line("F()", 1).find(" Dyn:1 FastMM:1 TID:0  NThr:1\n"), std::string::npos);
}

TEST_F(Verbose, ACallTextIsNoFormat) {
  EXPECT_EQ(line("F(%d,%s,%n)", 2).substr(0, 29), "QSL_VERBOSE F(%d,%s,%n) 2.00s");
}

TEST_F(Verbose, ALongCallTextIsKept) {
  const std::string call = "F(" + std::string(196, '1') + ")";  // 199 characters
  EXPECT_EQ(line(call.c_str(), 2).substr(0, 12 + 199 + 6), "QSL_VERBOSE " + call + " 2.00s");
}

TEST_F(Verbose, BannerOfEachInterfaceKind) {
  const struct {
    const char *kind, *text;
  } rows[] = {{"0", ""},      {"-2", " stdcall"}, {"-1", " cdecl"},   {"2", " ilp64"},
              {"1", " lp64"}, {"3", " iface3"},   {"26", " iface1a"}, {"-3", " ifacefffffffd"}};
#ifdef _WIN32
  const std::string system = "Win";
#else
  const std::string system = "Lnx";
#endif
  for (const auto& row : rows) {
    set_variable("QSL_DEBUG_CPU_TYPE", "5");
    const std::string text = output_of_child(std::string("--banner ") + row.kind);
    const std::string before =
        "QSL_VERBOSE Arvex(R) QSL 2018.0 Update 2 Product build 20180127 for Arvex(R) Streaming "
        "SIMD "
        "Extensions 4.2 (Arvex(R) SSE4.2) enabled processors 32-bit, " +
        system + " ";
    const std::string after = std::string("GHz") + row.text +
                              " sequential\n"
                              "QSL_VERBOSE F() 2.00s CNR:OFF Dyn:1 FastMM:1 TID:0  NThr:1\n"
                              "QSL_VERBOSE F() 3.00s CNR:OFF Dyn:1 FastMM:1 TID:0  NThr:1\n";
    ASSERT_EQ(text.substr(0, before.size()), before);
    const std::size_t unit = text.find("GHz");
    ASSERT_NE(unit, std::string::npos);
    EXPECT_EQ(text.substr(unit), after);
    // The frequency: digits, a point, two digits.
    const std::string number = text.substr(before.size(), unit - before.size());
    ASSERT_GE(number.size(), 4u);
    EXPECT_EQ(number.find_first_not_of("0123456789"), number.size() - 3) << number;
    EXPECT_EQ(number.find_last_not_of("0123456789"), number.size() - 3) << number;
    EXPECT_EQ(number[number.size() - 3], '.') << number;
  }
}

TEST_F(Verbose, FrequencyFromTheBrandString) {
  const struct {
    const char* tail;  // 16 characters
    double hertz;
  } rows[] = {
      {"U @ 2.40GHz\0\0\0\0\0", 2.4e9},  {"or @ 3.00GHz\0\0\0\0", 3e9},
      {" CPU @  0.99GHz\0", 0.99e9},     {"1.50THz\0\0\0\0\0\0\0\0\0", 1.5e12},
      {"CPU 2666MHz\0\0\0\0\0", 2666e6}, {"0800MHz\0\0\0\0\0\0\0\0\0", 800e6},
      {"  CPU  3.20GHz \0", 3.2e9},      {"\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 0},
      {"Processor     \0\0", 0},         {"2.4GHz\0\0\0\0\0\0\0\0\0\0", 0},
      {"CPU  266MHz\0\0\0\0\0", 0},      {"CPU 2,40GHz\0\0\0\0\0", 0},
      {"CPU 2.40GHZ\0\0\0\0\0", 0},      {"CPU 2.40Ghz\0\0\0\0\0", 0},
      {"CPU @ 2.40GH\0\0\0\0", 0},       {"abcdefghijkl2.40", 0},
      {"CPU A @ 12.40GHz", 2.4e9},       {"GHz 2.40GHz\0\0\0\0\0", 2.4e9},
      {"...........GHz..", 0},
  };
  for (const auto& row : rows) {
    EXPECT_NEAR(qsl::brand_frequency(row.tail), row.hertz, row.hertz * 1e-12) << row.tail;
  }
}

TEST_F(Verbose, TheBrandTailMayEndWithoutAZero) {
  const std::vector<char> tail = {'@', ' ', ' ', ' ', ' ', ' ', ' ', ' ',
                                  ' ', '2', '.', '4', '0', 'G', 'H', 'z'};
  EXPECT_NEAR(qsl::brand_frequency(tail.data()), 2.4e9, 1);
  const std::vector<char> cut = {'@', ' ', ' ', ' ', ' ', ' ', ' ', ' ',
                                 ' ', ' ', ' ', '2', '.', '4', '0', 'G'};
  EXPECT_EQ(qsl::brand_frequency(cut.data()), 0) << "the G comes last";
}

TEST_F(Verbose, TheFrequencyIsThatOfAProcessor) {
  const double hertz = qsl::processor_frequency();
  EXPECT_GT(hertz, 1e8);
  EXPECT_LT(hertz, 1e10);
}

TEST_F(Verbose, TheModeWordIsReadOnce) {
  EXPECT_EQ(output_of_child("--mode"), "0 0\n");
  const struct {
    const char* text;
    int mode;
  } rows[] = {{"1", 1},          {"0", 0},  {"2", 0},   {"-1", 0},   {"yes", 0}, {"on", 0},
              {"", 0},           {"01", 1}, {"001", 1}, {" 1", 1},   {"\t1", 1}, {"+1", 1},
              {"1 ", 0},         {"1x", 0}, {"1,", 0},  {"1.0", 0},  {"11", 0},  {"true", 0},
              {"4294967297", 0}, {" ", 0},  {"- 1", 0}, {"\"1\"", 0}};
  for (const auto& row : rows) {
    set_variable("QSL_VERBOSE", row.text);
    const std::string digit = std::to_string(row.mode);
    EXPECT_EQ(output_of_child("--mode"), digit + " " + digit + "\n") << row.text;
  }
  set_variable("QSL_VERBOSE", (std::string(126, '0') + "1").c_str());
  EXPECT_EQ(output_of_child("--mode"), "1 1\n") << "127 characters fit";
  set_variable("QSL_VERBOSE", (std::string(127, '0') + "1").c_str());
  EXPECT_EQ(output_of_child("--mode"), "0 0\n") << "128 characters count as unset";
}

TEST_F(Verbose, NullPointersCountAsNothing) {
  EXPECT_EQ(qsl::value_or_zero(static_cast<const int*>(nullptr)), 0);
  EXPECT_EQ(qsl::value_or_zero(static_cast<const char*>(nullptr)), '\0');
}

TEST_F(Verbose, WrappersGiveTheResultAndThenTheirLine) {
  const struct {
    const char *mode, *text;
  } rows[] = {
      {"0", "half 5\nclearing 4\nclearing 5\nfirst\nstatus -2\n"},
      {"1",
       "HALF(5)\nhalf 5\nclearing 4\nCLEAR(c,4)\nclearing 5\nCLEAR( "
       ",5)\nFIRST(1)\nfirst\nSOLVE(1,-2)\nstatus -2\n"
       "SOLVE(1,0)\n"},
  };
  for (const auto& row : rows) {
    set_variable("QSL_VERBOSE", row.mode);
    std::istringstream lines(output_of_child("--wrapped"));
    std::string text;
    for (std::string line; std::getline(lines, line);) {
      const std::string prefix = "QSL_VERBOSE ";
      if (line.rfind(prefix + "Arvex", 0) == 0) continue;
      if (line.rfind(prefix, 0) == 0)
        line = line.substr(prefix.size(), line.find(") ") + 1 - prefix.size());
      text += line + "\n";
    }
    EXPECT_EQ(text, row.text);
  }
}

int print_mode() {
  const int first = *qsl_verbose_mode_ptr();
  set_variable("QSL_VERBOSE", first ? "0" : "1");
  std::printf("%d %d\n", first, *qsl_verbose_mode_ptr());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 3 && std::strcmp(argv[1], "--banner") == 0) {
    qsl_verbose_print(std::atoi(argv[2]), "F()", 2);
    qsl_verbose_print(std::atoi(argv[2]), "F()", 3);
    return 0;
  }
  if (argc == 2 && std::strcmp(argv[1], "--mode") == 0) return print_mode();
  if (argc == 2 && std::strcmp(argv[1], "--wrapped") == 0) return wrapped_routines::call_all();
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
