// The reproducibility mode: keywords, the check against the processor, query and setter.
#include "tests/frame/support.h"

namespace {

using namespace frame_test;

class Cbwr : public Frame {};

// --- Check ---------------------------------------------------------------------------------------

constexpr int kOk = 0, kNo = -3, kUnknown = -4;
constexpr int kFirstMode = -5, kModes = 22;  // -5 to 16
using Statuses = int[kModes];

void expect_statuses(const Statuses& expected, const std::string& what) {
  for (int i = 0; i < kModes; ++i) {
    const int value = kFirstMode + i;
    EXPECT_EQ(qsl_cbwr_check(value), expected[i]) << what << ", mode " << value;
  }
}

// clang-format off
//                  -5         -4        -3        -2        -1         0         1      2    3    4    5    6    7    8    9   10   11   12   13      14        15        16
#define QSL_ROW(...) {kUnknown, kUnknown, kUnknown, kUnknown, kUnknown, kUnknown, kUnknown, __VA_ARGS__, kUnknown, kUnknown, kUnknown}
constexpr Statuses kTop4  = QSL_ROW(kOk, kOk, kOk, kNo, kNo, kNo, kNo, kNo, kNo, kNo, kNo, kNo);
constexpr Statuses kTop6  = QSL_ROW(kOk, kOk, kOk, kOk, kOk, kNo, kNo, kNo, kNo, kNo, kNo, kNo);
constexpr Statuses kTop7  = QSL_ROW(kOk, kOk, kOk, kOk, kOk, kOk, kNo, kNo, kNo, kNo, kNo, kNo);
constexpr Statuses kTop8  = QSL_ROW(kOk, kOk, kOk, kOk, kOk, kOk, kOk, kNo, kNo, kNo, kNo, kNo);
constexpr Statuses kTop9  = QSL_ROW(kOk, kOk, kOk, kOk, kOk, kOk, kOk, kOk, kNo, kNo, kNo, kNo);
constexpr Statuses kTop10 = QSL_ROW(kOk, kOk, kOk, kOk, kOk, kOk, kOk, kOk, kOk, kNo, kNo, kNo);
constexpr Statuses kTop11 = QSL_ROW(kOk, kOk, kOk, kOk, kOk, kOk, kOk, kOk, kOk, kOk, kNo, kNo);
constexpr Statuses kTop12 = QSL_ROW(kOk, kOk, kOk, kOk, kOk, kOk, kOk, kOk, kOk, kNo, kOk, kNo);
constexpr Statuses kTop13 = QSL_ROW(kOk, kOk, kOk, kOk, kOk, kOk, kOk, kOk, kOk, kOk, kNo, kOk);
constexpr Statuses kOther = QSL_ROW(kOk, kOk, kNo, kNo, kNo, kNo, kNo, kNo, kNo, kNo, kNo, kNo);
#undef QSL_ROW
// A raw type that is none has the top -4: everything above that is out of reach.
constexpr Statuses kNone = {kUnknown, kUnknown, kNo, kNo, kNo, kNo, kNo, kNo, kNo, kNo, kNo, kNo,
                            kNo, kNo, kNo, kNo, kNo, kNo, kNo, kUnknown, kUnknown, kUnknown};
// clang-format on

TEST_F(Cbwr, CheckOfEveryModeOnEveryRawType) {
  const struct {
    int type;
    std::uint64_t features;
    const Statuses& expected;
  } rows[] = {
      {0, kAvx512, kTop4},  {1, kAvx512, kTop4},  {2, kAvx512, kTop4},   {3, kAvx512, kTop4},
      {4, kSsse3, kTop6},   {4, kSse41, kTop7},   {5, kSse42, kTop8},    {6, kAvx, kTop9},
      {7, kAvx2, kTop10},   {8, kAvx2, kTop11},   {9, kAvx512, kTop12},  {10, kAvx2, kTop13},
      {11, kAvx512, kNone}, {-1, kAvx512, kNone}, {100, kAvx512, kNone},
  };
  for (const auto& row : rows) {
    reset();
    processor(true, row.features);
    override_type(row.type);
    expect_statuses(row.expected, "type " + std::to_string(row.type));
  }
}

TEST_F(Cbwr, CheckOnDetectedProcessors) {
  const struct {
    std::uint64_t features;
    const Statuses& expected;
  } rows[] = {{kSse2, kTop4}, {kSsse3, kTop6}, {kSse41, kTop7},  {kSse42, kTop8},
              {kAvx, kTop9},  {kAvx2, kTop10}, {kAvx512, kTop12}};
  for (const auto& row : rows) {
    reset();
    processor(true, row.features);
    expect_statuses(row.expected, "detected");
  }
}

TEST_F(Cbwr, CheckOnAnotherVendorsProcessor) {
  for (int type : {2, 4, 5, 7, 8, 9, 10, 11}) {
    reset();
    processor(false, kAvx512);
    override_type(type);
    expect_statuses(kOther, "type " + std::to_string(type));
  }
}

TEST_F(Cbwr, CheckOnAnotherVendorsProcessorAsksForNoType) {
  processor(false, kNothing);
  EXPECT_EQ(printed([] { EXPECT_EQ(qsl_cbwr_check(3), 0); }), "");
}

TEST_F(Cbwr, CheckFollowsTheLimit) {
  processor(true, kAvx512);
  set_variable("QSL_ENABLE_INSTRUCTIONS", "AVX");
  expect_statuses(kTop9, "limited to AVX");
}

// --- Keywords ------------------------------------------------------------------------------------

struct Keyword {
  const char* text;
  int mode;
};
constexpr Keyword kKeywords[] = {
    {"AUTO", 2},  {"COMPATIBLE", 3},  {"SSE2", 4},    {"SSE3", 4},
    {"SSSE3", 6}, {"SSE4_1", 7},      {"SSE4_2", 8},  {"AVX", 9},
    {"AVX2", 10}, {"AVX512_MIC", 11}, {"AVX512", 12}, {"AVX512_MIC_E1", 13},
};

int mode_of(const std::string& value) {
  set_variable("QSL_CBWR", value.c_str());
  const int mode = qsl_cbwr_query(1);
  EXPECT_EQ(qsl_cbwr_read, 1);
  EXPECT_EQ(qsl_init_lock, 0);
  return mode;
}

TEST_F(Cbwr, UnsetAndEmptyAreOff) {
  EXPECT_EQ(qsl_cbwr_query(1), 1);
  EXPECT_EQ(qsl_cbwr_query(-1), 0);
  EXPECT_EQ(qsl_cbwr_read, 1);
  reset();
  EXPECT_EQ(mode_of(""), 1);
}

TEST_F(Cbwr, EachKeywordWithAndWithoutBranchOnEachRawType) {
  for (const Keyword& keyword : kKeywords) {
    for (int type : {2, 3, 4, 5, 6, 7, 8, 9, 10}) {
      for (const char* prefix : {"", "BRANCH="}) {
        reset();
        processor(true, kAvx512);
        override_type(type);
        const bool served = qsl_cbwr_check(keyword.mode) == 0;
        EXPECT_EQ(mode_of(std::string(prefix) + keyword.text), served ? keyword.mode : 2)
            << prefix << keyword.text << " on type " << type;
      }
    }
  }
}

TEST_F(Cbwr, BranchesAsTheyComeOutOnTypicalProcessors) {
  const struct {
    const char* text;
    bool preferred;
    std::uint64_t features;
    int mode;
  } rows[] = {
      {"AVX2", true, kAvx2, 10},
      {"BRANCH=AVX2", true, kAvx2, 10},
      {"AVX2,STRICT", true, kAvx2, 2},
      {"AVX512", true, kAvx2, 2},
      {"AVX512", true, kAvx512, 12},
      {"AVX512_MIC", true, kAvx512, 2},
      {"AVX512_MIC_E1", true, kAvx512, 2},
      {"AVX", false, kAvx512, 2},
      {"SSE2", false, kAvx512, 2},
      {"COMPATIBLE", false, kAvx512, 3},
      {"COMPATIBLE", true, kSse2, 3},
      {"AUTO", false, kSse2, 2},
      {"SSE4_1", true, kSsse3, 2},
      {"SSE4_1", true, kSse41, 7},
      {"SSE3", true, kSse2, 4},
      {"SSSE3", true, kSse2, 2},
  };
  for (const auto& row : rows) {
    reset();
    processor(row.preferred, row.features);
    EXPECT_EQ(mode_of(row.text), row.mode) << row.text;
  }
}

TEST_F(Cbwr, TheOverrideIsTheRawTypeOfTheCheck) {
  processor(true, kAvx512);
  set_variable("QSL_DEBUG_CPU_TYPE", "4");
  EXPECT_EQ(mode_of("AVX"), 2);
  reset();
  processor(true, kSse2);
  set_variable("QSL_DEBUG_CPU_TYPE", "9");
  EXPECT_EQ(mode_of("AVX512"), 12);
  reset();
  processor(true, kAvx2);
  set_variable("QSL_DEBUG_CPU_TYPE", "11");
  EXPECT_EQ(mode_of("COMPATIBLE"), 2);
}

TEST_F(Cbwr, EveryOtherTextIsAuto) {
  for (const std::string& text : {std::string("OFF"),
                                  std::string("off"),
                                  std::string("avx"),
                                  std::string("Compatible"),
                                  std::string(" AVX"),
                                  std::string("AVX "),
                                  std::string("AVX2,STRICT"),
                                  std::string("AVX;"),
                                  std::string("BRANCH="),
                                  std::string("BRANCH"),
                                  std::string("BRANCH=BRANCH=AVX"),
                                  std::string("branch=AVX"),
                                  std::string("BRANCH= AVX"),
                                  std::string("BRANCH=OFF"),
                                  std::string("SSE4.2"),
                                  std::string("SSE"),
                                  std::string("AVX51"),
                                  std::string("AVX5122"),
                                  std::string("AVX512_"),
                                  std::string("0"),
                                  std::string("1"),
                                  std::string("9"),
                                  std::string(" "),
                                  std::string("%s%n"),
                                  std::string("COMPATIBLE=1"),
                                  std::string("=AVX"),
                                  std::string(127, 'A'),
                                  "AVX" + std::string(124, ' ')}) {
    reset();
    processor(true, kAvx2);
    EXPECT_EQ(mode_of(text), 2) << text;
  }
}

TEST_F(Cbwr, AnOverlongValueIsOff) {
  for (int length : {128, 129, 1000}) {
    reset();
    processor(true, kAvx2);
    EXPECT_EQ(mode_of(std::string(static_cast<std::size_t>(length), 'A')), 1) << length;
  }
}

TEST_F(Cbwr, TheVariableIsReadOnce) {
  processor(true, kAvx2);
  EXPECT_EQ(mode_of("AVX"), 9);
  EXPECT_EQ(mode_of("SSE2"), 9);
}

TEST_F(Cbwr, NothingIsPrintedForAWrongValue) {
  processor(true, kSse2);
  set_variable("QSL_CBWR", "AVX512_MIC");
  EXPECT_EQ(printed([] { qsl_cbwr_query(1); }), "");
}

// --- Query ---------------------------------------------------------------------------------------

TEST_F(Cbwr, QueryRefusesOtherArgumentsWithoutReading) {
  set_variable("QSL_CBWR", "COMPATIBLE");
  for (int what : {0, 2, -2, 3, 63, 1000, -1000}) {
    EXPECT_EQ(qsl_cbwr_query(what), -2);
    EXPECT_EQ(qsl_cbwr_query_unlocked(what), -2);
  }
  EXPECT_EQ(qsl_cbwr_read, -1);
  EXPECT_EQ(qsl_cbwr_query(-1), 3);
  EXPECT_EQ(qsl_cbwr_query(0), -2);
}

TEST_F(Cbwr, QueryMasksTheEffectiveModeToSixBits) {
  mode(0x44);
  EXPECT_EQ(qsl_cbwr_query(1), 4);
  EXPECT_EQ(qsl_cbwr_query(-1), 0x44);
  EXPECT_EQ(qsl_cbwr_query_unlocked(1), 4);
  EXPECT_EQ(qsl_cbwr_query_unlocked(-1), 0x44);
}

TEST_F(Cbwr, TheUnlockedQueryServesAHolderOfTheLock) {
  processor(true, kAvx2);
  set_variable("QSL_CBWR", "AVX");
  qsl_init_lock = 1;
  EXPECT_EQ(qsl_cbwr_query_unlocked(1), 9);
  EXPECT_EQ(qsl_init_lock, 1);
}

TEST_F(Cbwr, AfterTheFirstReadTheQueryTakesNoLock) {
  mode(9);
  qsl_init_lock = 1;
  EXPECT_EQ(qsl_cbwr_query(1), 9);
  EXPECT_EQ(qsl_cbwr_query(-1), 9);
}

// --- Setter --------------------------------------------------------------------------------------

TEST_F(Cbwr, SetOff) {
  for (int value : {0, 1}) {
    reset();
    set_variable("QSL_CBWR", "COMPATIBLE");
    EXPECT_EQ(qsl_cbwr_set(value), 0);
    EXPECT_EQ(qsl_cbwr_query(1), 1) << "the variable is not read any more";
    EXPECT_EQ(qsl_cbwr_query(-1), 0);
    EXPECT_EQ(qsl_init_lock, 0);
  }
}

TEST_F(Cbwr, SetEachModeThatTheProcessorServes) {
  for (int value = 2; value <= 13; ++value) {
    for (int type : {2, 4, 5, 6, 7, 8, 9, 10}) {
      reset();
      processor(true, kAvx512);
      override_type(type);
      const int expected = qsl_cbwr_check(value);
      EXPECT_EQ(qsl_cbwr_set(value), expected) << "mode " << value << " type " << type;
      EXPECT_EQ(qsl_init_lock, 0);
      EXPECT_EQ(qsl_cbwr_query(1), expected == 0 ? value : 1);
    }
  }
}

TEST_F(Cbwr, SetUnknownModes) {
  for (int value : {14, 35, 63, 62 + 64}) {
    reset();
    processor(true, kAvx512);
    EXPECT_EQ(qsl_cbwr_set(value), -4) << value;
    EXPECT_EQ(qsl_cbwr_query(-1), 0) << value;
  }
}

TEST_F(Cbwr, SetChecksTheLowSixBits) {
  processor(true, kAvx2);
  EXPECT_EQ(qsl_cbwr_set(64 + 9), 0);
  EXPECT_EQ(qsl_cbwr_query(1), 9);
  reset();
  processor(true, kAvx2);
  EXPECT_EQ(qsl_cbwr_set(64 + 12), -3);
}

TEST_F(Cbwr, SetIsLockedOnceTheTypeIsDecided) {
  for (int stored : {0, 2, 9}) {
    for (int value : {0, 1, 2, 3, 9, 99}) {
      reset();
      mode(stored);
      qsl_cpu_type_cached = 7;
      EXPECT_EQ(qsl_cbwr_set(value), value == stored ? 0 : -8) << stored << ' ' << value;
      EXPECT_EQ(qsl_cbwr_mode, stored);
      EXPECT_EQ(qsl_init_lock, 0);
    }
  }
}

TEST_F(Cbwr, SetIsLockedOnceAModeWasReadButNotByOff) {
  processor(true, kAvx2);
  mode(9);
  EXPECT_EQ(qsl_cbwr_set(9), 0);
  EXPECT_EQ(qsl_cbwr_set(10), -8);
  EXPECT_EQ(qsl_cbwr_set(0), -8);
  mode(0);
  EXPECT_EQ(qsl_cbwr_set(10), 0);
  EXPECT_EQ(qsl_cbwr_query(1), 10);
}

TEST_F(Cbwr, TheSetModeFixesTheType) {
  processor(true, kAvx2);
  ASSERT_EQ(qsl_cbwr_set(QSL_CBWR_AVX), 0);
  EXPECT_EQ(qsl_get_cpu_type(), 6);
  EXPECT_EQ(qsl_cbwr_set(QSL_CBWR_AVX2), -8);
}

}  // namespace
