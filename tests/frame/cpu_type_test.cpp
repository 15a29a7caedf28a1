// The decision of the processor type: override, detection, fixed branches, and how each ends.
#include <atomic>

#include "tests/frame/support.h"

namespace {

using namespace frame_test;

constexpr char kModeWarning[] =
    "Arvex QSL WARNING: incorrect conditional numerical reproducibility mode, QSL_CBWR_AUTO is "
    "set\n";
constexpr char kBelowMinimum[] =
    "Arvex QSL FATAL ERROR: This system does not meet the minimum requirements for use of the "
    "Arvex(R) Quartz Solver Library.\n"
    "The processor must support the Arvex(R) Streaming SIMD 2 Extensions (Arvex(R) SSE2) "
    "instructions.\n";

std::string not_supported(int type) {
  return "Arvex QSL ERROR: CPU " + std::to_string(type) + " is not supported.\n";
}

struct Outcome {
  int type = -12345;
  int exit_code = kReturned;
  std::string text;
};

Outcome decide() {
  Outcome outcome;
  outcome.text = printed(
      [&] { outcome.exit_code = exit_code_of([&] { outcome.type = qsl_get_cpu_type(); }); });
  return outcome;
}

class CpuType : public Frame {
 protected:
  static void expect_type(int type, const std::string& what = "") {
    const Outcome outcome = decide();
    EXPECT_EQ(outcome.exit_code, kReturned) << what;
    EXPECT_EQ(outcome.type, type) << what;
    EXPECT_EQ(qsl_cpu_type_cached, type) << what;
    EXPECT_EQ(outcome.text, "") << what;
    EXPECT_EQ(qsl_init_lock, 0) << what;
  }
  static void expect_end(const std::string& text, const std::string& what = "") {
    const Outcome outcome = decide();
    EXPECT_EQ(outcome.exit_code, 1) << what;
    EXPECT_EQ(outcome.text, text) << what;
    EXPECT_EQ(qsl_cpu_type_cached, -1) << what << ": a refused type is never stored";
    EXPECT_EQ(init_lock_at_exit(), 0) << what << ": the lock is released first";
  }
};

TEST_F(CpuType, AStoredTypeIsReturnedWithoutTheLock) {
  qsl_init_lock = 1;
  for (int type : {0, 2, 3, 7, 9, 42}) {
    qsl_cpu_type_cached = type;
    EXPECT_EQ(qsl_get_cpu_type(), type);
  }
}

TEST_F(CpuType, ANegativeWordOtherThanMinusOneIsReturned) {
  qsl_cpu_type_cached = -2;
  EXPECT_EQ(qsl_get_cpu_type(), -2);
  EXPECT_EQ(qsl_init_lock, 0);
  EXPECT_EQ(qsl_debug_cpu_state, -1) << "nothing was decided";
}

TEST_F(CpuType, OverrideAcceptsTypes2To7And9WithoutATest) {
  for (int type : {2, 3, 4, 5, 6, 7, 9}) {
    for (std::uint64_t features : {kNothing, kSse2, kAvx512}) {
      for (bool preferred : {false, true}) {
        reset();
        processor(preferred, features);
        set_variable("QSL_DEBUG_CPU_TYPE", std::to_string(type).c_str());
        expect_type(type);
      }
    }
  }
}

TEST_F(CpuType, OverrideRefusesEveryOtherNumber) {
  const struct {
    const char* text;
    int number;
  } rows[] = {{"0", 0},
              {"1", 1},
              {"8", 8},
              {"10", 10},
              {"11", 11},
              {"-1", -1},
              {"-7", -7},
              {"12", 12},
              {"77", 77},
              {"010", 8},
              {"08", 0},
              {"0xa", 10},
              {"012", 10},
              {"2147483647", 2147483647},
              {"-2147483648", -2147483647 - 1}};
  for (const auto& row : rows) {
    reset();
    processor(true, kAvx2);
    set_variable("QSL_DEBUG_CPU_TYPE", row.text);
    expect_end(not_supported(row.number), row.text);
  }
}

TEST_F(CpuType, OverrideInOtherBases) {
  for (const char* text : {"0x9", "0X9", "011"}) {
    reset();
    set_variable("QSL_DEBUG_CPU_TYPE", text);
    expect_type(9, text);
  }
  for (const char* text : {"0x7", "07", "7abc", " 7"}) {
    reset();
    set_variable("QSL_DEBUG_CPU_TYPE", text);
    expect_type(7, text);
  }
}

TEST_F(CpuType, ATextThatIsNoNumberIsNoOverride) {
  for (const char* text : {"abc", "", " ", "AVX2", "x7", "000000000000000000000000000007"}) {
    reset();
    processor(true, kAvx);
    set_variable("QSL_DEBUG_CPU_TYPE", text);
    expect_type(6, text);
    EXPECT_EQ(qsl_debug_cpu_state, 0);
  }
}

TEST_F(CpuType, OverrideGoesBeforeTheModeAndTheLimit) {
  processor(true, kAvx512);
  set_variable("QSL_DEBUG_CPU_TYPE", "7");
  set_variable("QSL_CBWR", "COMPATIBLE");
  set_variable("QSL_ENABLE_INSTRUCTIONS", "SSE4_2");
  expect_type(7);
  EXPECT_EQ(qsl_cbwr_query(1), QSL_CBWR_COMPATIBLE);
}

TEST_F(CpuType, OffAndAutoDetect) {
  const struct {
    std::uint64_t features;
    int preferred, other;
  } rows[] = {{kSse2, 2, 2}, {kSsse3, 4, 4}, {kSse41, 4, 4}, {kSse42, 5, 5},
              {kAvx, 6, 5},  {kAvx2, 7, 5},  {kAvx512, 9, 5}};
  for (const auto& row : rows) {
    for (const char* value : {"", "AUTO"}) {
      reset();
      processor(true, row.features);
      set_variable("QSL_CBWR", value);
      expect_type(row.preferred, value);
      reset();
      processor(false, row.features);
      set_variable("QSL_CBWR", value);
      expect_type(row.other, value);
    }
  }
}

TEST_F(CpuType, BelowTheMinimumTheProcessEnds) {
  for (bool preferred : {false, true}) {
    reset();
    processor(preferred, kNothing);
    expect_end(kBelowMinimum);
  }
}

TEST_F(CpuType, BelowTheMinimumTheProcessEndsUnderEveryMode) {
  for (const char* value : {"AUTO", "COMPATIBLE", "SSE2", "AVX", "nonsense"}) {
    for (bool preferred : {false, true}) {
      reset();
      processor(preferred, kNothing);
      set_variable("QSL_CBWR", value);
      const Outcome outcome = decide();
      EXPECT_EQ(outcome.exit_code, 1) << value;
      EXPECT_EQ(outcome.text, kBelowMinimum) << value;
    }
  }
}

TEST_F(CpuType, FixedBranches) {
  const struct {
    int mode, type;
  } rows[] = {{3, 2}, {4, 2}, {5, 2}, {6, 4}, {7, 4}, {8, 5}, {9, 6}, {10, 7}, {12, 9}};
  for (const auto& row : rows) {
    for (bool preferred : {false, true}) {
      for (std::uint64_t features : {kSse2, kAvx512}) {
        reset();
        processor(preferred, features);
        mode(row.mode);
        expect_type(row.type, "mode " + std::to_string(row.mode));
        EXPECT_EQ(qsl_enable_parsed, 1) << "the limit is read on this way, too";
      }
    }
  }
}

TEST_F(CpuType, BranchesWithoutAModuleWarnAndEnd) {
  for (int value : {11, 13, 14, 35, 63}) {
    for (std::uint64_t features : {kSse2, kAvx2, kAvx512}) {
      for (bool preferred : {false, true}) {
        reset();
        processor(preferred, features);
        mode(value);
        expect_end(kModeWarning, "mode " + std::to_string(value));
      }
    }
  }
}

TEST_F(CpuType, BranchesWithoutAModuleBelowTheMinimumSayBoth) {
  for (int value : {11, 13, 14}) {
    reset();
    processor(true, kNothing);
    mode(value);
    expect_end(std::string(kModeWarning) + kBelowMinimum);
  }
}

TEST_F(CpuType, OnlyTheLimitOfLevel5TakesABranchBackToDetection) {
  const struct {
    const char* limit;
    int mode;
    bool preferred;
    std::uint64_t features;
    int type;
  } rows[] = {
      {"AVX512_MIC_E1", 10, true, kAvx512, 9},
      {"AVX512_MIC_E1", 9, true, kAvx512, 9},
      {"AVX512_MIC_E1", 12, true, kAvx2, 7},
      {"AVX512_MIC_E1", 12, true, kSse42, 5},
      {"AVX512_MIC_E1", 10, false, kAvx512, 5},
      {"AVX512_MIC_E1", 9, true, kAvx2, 7},
      {"AVX512_MIC_E1", 10, true, kSse41, 7},  // without SSE4.2 the branch stays
      {"AVX512_MIC_E1", 8, true, kAvx512, 5},  // 5 does not exceed 5
      {"AVX512_MIC_E1", 7, true, kAvx512, 4},
      {"AVX512_MIC_E1", 3, true, kAvx512, 2},
      {"SSE4_2", 9, true, kAvx512, 6},
      {"SSE4_2", 12, true, kAvx512, 9},
      {"AVX", 10, true, kAvx512, 7},
      {"AVX2", 12, true, kAvx512, 9},
      {"AVX512_MIC", 9, true, kAvx512, 6},
      {"AVX512", 9, true, kAvx512, 6},
      {"AVX512", 12, true, kAvx512, 9},
      {"nonsense", 12, true, kAvx512, 9},
  };
  for (const auto& row : rows) {
    reset();
    processor(row.preferred, row.features);
    mode(row.mode);
    set_variable("QSL_ENABLE_INSTRUCTIONS", row.limit);
    expect_type(row.type, row.limit + std::string(" mode ") + std::to_string(row.mode));
  }
}

TEST_F(CpuType, LimitsCountWhenDetectionDecides) {
  processor(true, kAvx512);
  set_variable("QSL_ENABLE_INSTRUCTIONS", "AVX");
  set_variable("QSL_CBWR", "AUTO");
  expect_type(6);
}

TEST_F(CpuType, VariablesAreNotReadAgain) {
  set_variable("QSL_DEBUG_CPU_TYPE", "4");
  expect_type(4);
  set_variable("QSL_DEBUG_CPU_TYPE", "7");
  set_variable("QSL_CBWR", "COMPATIBLE");
  expect_type(4);
  EXPECT_EQ(qsl_cbwr_query(1), QSL_CBWR_OFF);
}

TEST_F(CpuType, ForDisplayNothingIsStoredPrintedOrEnded) {
  set_variable("QSL_DEBUG_CPU_TYPE", "8");
  int type = 0, code = 0;
  EXPECT_EQ(printed([&] { code = exit_code_of([&] { type = qsl::cpu_type_or_undecided(); }); }),
            "");
  EXPECT_EQ(code, kReturned);
  EXPECT_EQ(type, -1);
  EXPECT_EQ(qsl_cpu_type_cached, -1);
}

TEST_F(CpuType, ForDisplayIsTheTypeThatWillBeStored) {
  for (int value : {0, 2, 3, 6, 9, 10}) {
    reset();
    processor(true, kAvx2);
    mode(value);
    const int shown = qsl::cpu_type_or_undecided();
    EXPECT_EQ(shown, qsl_get_cpu_type());
  }
}

TEST_F(CpuType, RacingFirstCallsAgree) {
  for (int round = 0; round < 100; ++round) {
    reset();
    set_variable("QSL_DEBUG_CPU_TYPE", round % 2 ? "6" : "4");
    std::atomic<int> wrong{0};
    race(4, [&] {
      if (qsl_get_cpu_type() != (round % 2 ? 6 : 4)) ++wrong;
    });
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(qsl_init_lock, 0);
  }
}

}  // namespace
