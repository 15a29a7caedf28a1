// The processor feature word, row by row, from made-up answers of CPUID and XGETBV.
#include <atomic>

#include "tests/frame/support.h"

namespace {

using qsl::CpuidLeaves;
using qsl::feature_word;

enum State { kAny, kAvxState, kWideState, kBoundState };

struct Row {
  const char* name;
  int bit;  // of the 64-bit word
  std::uint32_t CpuidLeaves::*leaf;
  std::uint32_t mask;
  State state;
  bool without_fxsave;  // evaluated on a processor without FXSAVE too
};

constexpr std::uint32_t b(int n) { return std::uint32_t{1} << n; }

constexpr auto kEcx1 = &CpuidLeaves::leaf1_ecx;
constexpr auto kEdx1 = &CpuidLeaves::leaf1_edx;
constexpr auto kEbx7 = &CpuidLeaves::leaf7_ebx;
constexpr auto kEcx7 = &CpuidLeaves::leaf7_ecx;
constexpr auto kEdx7 = &CpuidLeaves::leaf7_edx;
constexpr auto kExt1 = &CpuidLeaves::ext1_ecx;

const Row kRows[] = {
    {"FPU", 1, kEdx1, b(0), kAny, true},
    {"CMOV", 2, kEdx1, b(15), kAny, true},
    {"MMX", 3, kEdx1, b(23), kAny, true},
    {"SSE", 5, kEdx1, b(25), kAny, false},
    {"SSE2", 6, kEdx1, b(26), kAny, false},
    {"SSE3", 7, kEcx1, b(0), kAny, false},
    {"SSSE3", 8, kEcx1, b(9), kAny, false},
    {"SSE4.1", 9, kEcx1, b(19), kAny, false},
    {"SSE4.2", 10, kEcx1, b(20), kAny, false},
    {"MOVBE", 11, kEcx1, b(22), kAny, false},
    {"POPCNT", 12, kEcx1, b(23), kAny, false},
    {"PCLMULQDQ", 13, kEcx1, b(1), kAny, false},
    {"AES", 14, kEcx1, b(25), kAny, false},
    {"F16C", 15, kEcx1, b(29), kAvxState, true},
    {"AVX", 16, kEcx1, b(28), kAvxState, true},
    {"RDRAND", 17, kEcx1, b(30), kAny, true},
    {"FMA", 18, kEcx1, b(12), kAvxState, true},
    {"BMI1 and BMI2", 19, kEbx7, b(3) | b(8), kAny, true},
    {"LZCNT", 20, kExt1, b(5), kAny, true},
    {"HLE", 21, kEbx7, b(4), kAny, true},
    {"RTM", 22, kEbx7, b(11), kAny, true},
    {"AVX2", 23, kEbx7, b(5), kAvxState, true},
    {"AVX512DQ", 24, kEbx7, b(17), kWideState, true},
    {"AVX512F", 27, kEbx7, b(16), kWideState, true},
    {"ADX", 28, kEbx7, b(19), kAny, true},
    {"RDSEED", 29, kEbx7, b(18), kAny, true},
    {"AVX512IFMA", 30, kEbx7, b(21), kWideState, true},
    {"AVX512ER", 32, kEbx7, b(27), kWideState, false},
    {"AVX512PF", 33, kEbx7, b(26), kWideState, false},
    {"AVX512CD", 34, kEbx7, b(28), kWideState, false},
    {"SHA", 35, kEbx7, b(29), kAny, false},
    {"MPX", 36, kEbx7, b(14), kBoundState, false},
    {"AVX512BW", 37, kEbx7, b(30), kWideState, false},
    {"AVX512VL", 38, kEbx7, b(31), kWideState, false},
    {"AVX512VBMI", 39, kEcx7, b(1), kWideState, false},
    {"AVX512 4FMAPS", 40, kEdx7, b(3), kWideState, false},
    {"AVX512 4VNNIW", 41, kEdx7, b(2), kWideState, false},
    {"AVX512 VPOPCNTDQ", 42, kEcx7, b(14), kWideState, false},
};

constexpr std::uint32_t kOsxsave = b(27);
constexpr std::uint32_t kFxsave = b(24);
constexpr std::uint32_t kFullXcr0 = 0xff;

std::uint64_t word_bit(int n) { return std::uint64_t{1} << n; }

// A processor with FXSAVE, OSXSAVE, every register state enabled and not one other feature.
CpuidLeaves bare() {
  CpuidLeaves leaves = {};
  leaves.max_leaf = 7;
  leaves.leaf1_ecx = kOsxsave;
  leaves.leaf1_edx = kFxsave;
  leaves.xcr0 = kFullXcr0;
  return leaves;
}

// A processor whose every bit is set.
CpuidLeaves full() {
  CpuidLeaves leaves;
  leaves.max_leaf = 0x1f;
  leaves.leaf1_eax = leaves.leaf1_ecx = leaves.leaf1_edx = ~0u;
  leaves.leaf7_ebx = leaves.leaf7_ecx = leaves.leaf7_edx = leaves.ext1_ecx = ~0u;
  leaves.xcr0 = kFullXcr0;
  return leaves;
}

constexpr std::uint64_t kFilledWithFxsave = 1 | 0x10;

class FeatureWord : public frame_test::Frame {};

TEST_F(FeatureWord, BitZeroIsAlwaysSet) {
  CpuidLeaves leaves = {};
  leaves.max_leaf = 1;
  EXPECT_EQ(feature_word(leaves), 1u);
}

TEST_F(FeatureWord, EachFeatureSetsItsBitAndNoOther) {
  for (const Row& row : kRows) {
    CpuidLeaves leaves = bare();
    leaves.*row.leaf |= row.mask;
    EXPECT_EQ(feature_word(leaves), kFilledWithFxsave | word_bit(row.bit)) << row.name;
  }
}

TEST_F(FeatureWord, EachFeatureIsAbsentWithoutAnyOneOfItsCpuidBits) {
  for (const Row& row : kRows) {
    for (int n = 0; n < 32; ++n) {
      if ((row.mask & b(n)) == 0) continue;
      CpuidLeaves leaves = full();
      leaves.*row.leaf &= ~b(n);
      EXPECT_EQ(feature_word(leaves), feature_word(full()) & ~word_bit(row.bit)) << row.name << n;
    }
  }
}

TEST_F(FeatureWord, TheFullProcessorHasEveryRowAndNoUnknownBit) {
  std::uint64_t expected = kFilledWithFxsave;
  for (const Row& row : kRows) expected |= word_bit(row.bit);
  EXPECT_EQ(feature_word(full()), expected);
  EXPECT_EQ(feature_word(full()), 0x000007ff79ffffffu);
}

TEST_F(FeatureWord, FxsaveIsBitFour) {
  CpuidLeaves leaves = bare();
  EXPECT_EQ(feature_word(leaves), 0x11u);
  leaves.leaf1_edx = 0;
  EXPECT_EQ(feature_word(leaves), 1u);
}

TEST_F(FeatureWord, WithoutFxsaveNoSseNoBits7To14AndAnEmptyHighHalf) {
  CpuidLeaves leaves = full();
  leaves.leaf1_edx &= ~kFxsave;
  std::uint64_t expected = 1;
  for (const Row& row : kRows) {
    if (row.without_fxsave) expected |= word_bit(row.bit);
  }
  EXPECT_EQ(feature_word(leaves), expected);
  EXPECT_EQ(feature_word(leaves), 0x79ff800fu);
}

TEST_F(FeatureWord, StateTestNeedsOsxsaveAndBothStateBits) {
  for (const Row& row : kRows) {
    if (row.state != kAvxState) continue;
    for (std::uint32_t xcr0 = 0; xcr0 <= kFullXcr0; ++xcr0) {
      CpuidLeaves leaves = full();
      leaves.xcr0 = xcr0;
      EXPECT_EQ((feature_word(leaves) & word_bit(row.bit)) != 0, (xcr0 & 6) == 6)
          << row.name << " XCR0 " << xcr0;
    }
    CpuidLeaves leaves = full();
    leaves.leaf1_ecx &= ~kOsxsave;
    EXPECT_EQ(feature_word(leaves) & word_bit(row.bit), 0u) << row.name << " without OSXSAVE";
  }
}

TEST_F(FeatureWord, WideStateTestNeedsTheStateTestAndThreeMoreBits) {
  for (const Row& row : kRows) {
    if (row.state != kWideState) continue;
    for (std::uint32_t xcr0 = 0; xcr0 <= kFullXcr0; ++xcr0) {
      CpuidLeaves leaves = full();
      leaves.xcr0 = xcr0;
      EXPECT_EQ((feature_word(leaves) & word_bit(row.bit)) != 0, (xcr0 & 0xe6) == 0xe6)
          << row.name << " XCR0 " << xcr0;
    }
    CpuidLeaves leaves = full();
    leaves.leaf1_ecx &= ~kOsxsave;
    EXPECT_EQ(feature_word(leaves) & word_bit(row.bit), 0u) << row.name << " without OSXSAVE";
  }
}

TEST_F(FeatureWord, MpxNeedsItsOwnTwoStateBits) {
  for (std::uint32_t xcr0 = 0; xcr0 <= kFullXcr0; ++xcr0) {
    CpuidLeaves leaves = full();
    leaves.xcr0 = xcr0;
    EXPECT_EQ((feature_word(leaves) & word_bit(36)) != 0, (xcr0 & 0x18) == 0x18) << xcr0;
  }
}

TEST_F(FeatureWord, OtherFeaturesDoNotDependOnAnyState) {
  for (const Row& row : kRows) {
    if (row.state != kAny) continue;
    CpuidLeaves leaves = bare();
    leaves.leaf1_ecx = 0;
    leaves.xcr0 = 0;
    leaves.*row.leaf |= row.mask;
    EXPECT_EQ(feature_word(leaves), kFilledWithFxsave | word_bit(row.bit)) << row.name;
  }
}

TEST_F(FeatureWord, InOrderModelsByDisplayModelInEveryFamilyAndStepping) {
  for (std::uint32_t extended = 0; extended < 16; ++extended) {
    for (std::uint32_t model = 0; model < 16; ++model) {
      for (std::uint32_t rest : {0x0u, 0x600u, 0xf00u, 0xfu, 0x0ff03f0fu}) {
        CpuidLeaves leaves = bare();
        leaves.leaf1_eax = extended << 16 | model << 4 | rest;
        const std::uint32_t display = extended << 4 | model;
        const bool in_order = display == 0x1c || display == 0x26 || display == 0x27;
        EXPECT_EQ((feature_word(leaves) & word_bit(31)) != 0, in_order) << display;
      }
    }
  }
}

TEST_F(FeatureWord, AProcessorWithoutLeafOneIsBelowTheMinimum) {
  CpuidLeaves leaves = full();
  leaves.max_leaf = 0;
  EXPECT_EQ(feature_word(leaves) & QSL_FEAT_SSE2 & ~1u, 0u);
}

TEST_F(FeatureWord, MasksAreThoseOfTheirFeatures) {
  const auto bits = [](std::initializer_list<int> list) {
    std::uint32_t mask = 1;
    for (int n : list) mask |= b(n);
    return mask;
  };
  EXPECT_EQ(QSL_FEAT_SSE2, bits({6}));
  EXPECT_EQ(QSL_FEAT_SSSE3, bits({8}));
  EXPECT_EQ(QSL_FEAT_SSE41, bits({9}));
  EXPECT_EQ(QSL_FEAT_SSE42, bits({10}));
  EXPECT_EQ(QSL_FEAT_AVX, bits({16}));
  EXPECT_EQ(QSL_FEAT_AVX2, bits({23, 20, 19, 18, 13}));
  EXPECT_EQ(QSL_FEAT_AVX512, bits({24, 27}));
  EXPECT_EQ(QSL_FEAT_AVX512_MIC, bits({27}));
  EXPECT_EQ(QSL_FEAT_HIGH_AVX512, 0x60u);
  EXPECT_EQ(QSL_FEAT_HIGH_AVX512_MIC, 7u);
}

TEST_F(FeatureWord, ATestFillsAnEmptyWordAndLeavesAFilledOne) {
  ASSERT_EQ(qsl_cpu_features, 0u);
  qsl::has_features(QSL_FEAT_SSE2);
  EXPECT_NE(qsl_cpu_features, 0u);
  EXPECT_EQ(qsl_cpu_features, feature_word(qsl::read_cpuid_leaves()));

  qsl_cpu_features = 1;
  EXPECT_FALSE(qsl::has_features(QSL_FEAT_SSE2));
  EXPECT_EQ(qsl_cpu_features, 1u);
}

TEST_F(FeatureWord, ATestNeedsEveryBitOfBothMasks) {
  const std::uint64_t word = (std::uint64_t{0x60} << 32) | QSL_FEAT_AVX512;
  qsl_cpu_features = word;
  EXPECT_TRUE(qsl::has_features(QSL_FEAT_AVX512, QSL_FEAT_HIGH_AVX512));
  for (int n : {24, 27, 37, 38}) {
    qsl_cpu_features = word & ~word_bit(n);
    EXPECT_FALSE(qsl::has_features(QSL_FEAT_AVX512, QSL_FEAT_HIGH_AVX512)) << n;
  }
}

TEST_F(FeatureWord, RacingFirstTestsAgree) {
  const std::uint64_t expected = feature_word(qsl::read_cpuid_leaves());
  for (int round = 0; round < 200; ++round) {
    qsl_cpu_features = 0;
    std::atomic<int> wrong{0};
    frame_test::race(4, [&] {
      const auto high = static_cast<std::uint32_t>(expected >> 32);
      if (!qsl::has_features(static_cast<std::uint32_t>(expected), high)) ++wrong;
    });
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(qsl_cpu_features, expected);
  }
}

TEST_F(FeatureWord, OfThisProcessorAgreesWithTheCompiler) {
  const std::uint64_t word = feature_word(qsl::read_cpuid_leaves());
  const auto has = [word](int n) { return (word & word_bit(n)) != 0; };
  EXPECT_EQ(has(6), __builtin_cpu_supports("sse2") != 0);
  EXPECT_EQ(has(8), __builtin_cpu_supports("ssse3") != 0);
  EXPECT_EQ(has(9), __builtin_cpu_supports("sse4.1") != 0);
  EXPECT_EQ(has(10), __builtin_cpu_supports("sse4.2") != 0);
  EXPECT_EQ(has(12), __builtin_cpu_supports("popcnt") != 0);
  EXPECT_EQ(has(13), __builtin_cpu_supports("pclmul") != 0);
  EXPECT_EQ(has(16), __builtin_cpu_supports("avx") != 0);
  EXPECT_EQ(has(18), __builtin_cpu_supports("fma") != 0);
  EXPECT_EQ(has(23), __builtin_cpu_supports("avx2") != 0);
  EXPECT_EQ(has(27), __builtin_cpu_supports("avx512f") != 0);
}

}  // namespace
