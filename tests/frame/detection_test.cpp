// Detection of the raw processor type, the override, and the limit of QSL_ENABLE_INSTRUCTIONS.
#include <cpuid.h>

#include "tests/frame/support.h"

namespace {

using namespace frame_test;

constexpr char kBelowMinimum[] =
    "Arvex QSL FATAL ERROR: This system does not meet the minimum requirements for use of the "
    "Arvex(R) Quartz Solver Library.\n"
    "The processor must support the Arvex(R) Streaming SIMD 2 Extensions (Arvex(R) SSE2) "
    "instructions.\n";

int detected() {
  int error = 0;
  const int type = qsl_detect_cpu_type(&error);
  EXPECT_EQ(error, 0);
  return type;
}

class Detection : public Frame {};

TEST_F(Detection, OrderOnAPreferredProcessor) {
  const struct {
    const char* what;
    std::uint64_t features;
    int type;
  } rows[] = {
      {"SSE2", kSse2, 2},
      {"SSSE3", kSsse3, 4},
      {"SSE4.1", kSse41, 4},
      {"SSE4.2", kSse42, 5},
      {"AVX", kAvx, 6},
      {"AVX2", kAvx2, 7},
      {"AVX-512", kAvx512, 9},
      {"AVX2 without LZCNT", kAvx2 & ~(1u << 20), 6},
      {"AVX2 without BMI", kAvx2 & ~(1u << 19), 6},
      {"AVX2 without FMA", kAvx2 & ~(1u << 18), 6},
      {"AVX2 without PCLMULQDQ", kAvx2 & ~(1u << 13), 6},
      {"AVX2 features without AVX", kAvx2 & ~(1u << 16), 5},
      {"AVX-512 without AVX", kAvx512 & ~(1u << 16), 5},
      {"AVX-512 without AVX2", kAvx512 & ~(1u << 23), 6},
      {"AVX-512 without FMA", kAvx512 & ~(1u << 18), 6},
      {"AVX-512 without F", kAvx512 & ~(1u << 27), 7},
      {"AVX-512 without DQ", kAvx512 & ~(1u << 24), 7},
      {"AVX-512 without BW", kAvx512 & ~(std::uint64_t{1} << 37), 7},
      {"AVX-512 without VL", kAvx512 & ~(std::uint64_t{1} << 38), 7},
      {"many-core AVX-512", kAvx2 | (1u << 27) | (std::uint64_t{7} << 32), 7},
      {"AVX alone", QSL_FEAT_AVX, 6},
      {"SSE4.2 alone", QSL_FEAT_SSE42, 5},
      {"SSSE3 alone", QSL_FEAT_SSSE3, 4},
      {"SSE2 alone", QSL_FEAT_SSE2, 2},
  };
  for (const auto& row : rows) {
    reset();
    processor(true, row.features);
    EXPECT_EQ(detected(), row.type) << row.what;
  }
}

TEST_F(Detection, AnotherVendorsProcessorGetsAtMostType5) {
  const struct {
    std::uint64_t features;
    int type;
  } rows[] = {{kSse2, 2}, {kSsse3, 4},  {kSse41, 4},         {kSse42, 5},        {kAvx, 5},
              {kAvx2, 5}, {kAvx512, 5}, {QSL_FEAT_SSSE3, 4}, {QSL_FEAT_SSE42, 5}};
  for (const auto& row : rows) {
    reset();
    processor(false, row.features);
    EXPECT_EQ(detected(), row.type) << row.features;
  }
}

TEST_F(Detection, BelowTheMinimumTellsWhyOnce) {
  for (bool preferred : {false, true}) {
    for (std::uint64_t features : {kNothing, std::uint64_t{0x3f}, std::uint64_t{0x281}}) {
      reset();
      processor(preferred, features);
      int error = 0, type = 0;
      EXPECT_EQ(printed([&] { type = qsl_detect_cpu_type(&error); }), kBelowMinimum);
      EXPECT_EQ(type, -1);
      EXPECT_EQ(error, 1);
    }
  }
}

TEST_F(Detection, AnOverrideIsReturnedWithoutAnyTest) {
  for (int value : {-100, -1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 1000000}) {
    for (std::uint64_t features : {kNothing, kAvx512}) {
      reset();
      processor(true, features);
      override_type(value);
      int error = 0, type = 0;
      EXPECT_EQ(printed([&] { type = qsl_detect_cpu_type(&error); }), "");
      EXPECT_EQ(type, value);
      EXPECT_EQ(error, 0);
    }
  }
}

TEST_F(Detection, TheOverrideIsReadOnFirstUse) {
  processor(true, kSse2);
  set_variable("QSL_DEBUG_CPU_TYPE", "9");
  EXPECT_EQ(detected(), 9);
  EXPECT_EQ(qsl_debug_cpu_state, 1);
  EXPECT_EQ(qsl_debug_cpu_value, 9);
  set_variable("QSL_DEBUG_CPU_TYPE", "4");
  EXPECT_EQ(detected(), 9) << "never read again";
}

TEST_F(Detection, AnOverrideLeavesTheLimitUnread) {
  override_type(7);
  set_variable("QSL_ENABLE_INSTRUCTIONS", "AVX");
  EXPECT_EQ(detected(), 7);
  EXPECT_EQ(qsl_enable_parsed, 0);
}

TEST_F(Detection, TextsOfTheOverride) {
  const std::string zeros(28, '0');
  const struct {
    std::string text;
    int state, value;
  } rows[] = {
      {"7", 1, 7},
      {"0x9", 1, 9},
      {"0X7", 1, 7},
      {"011", 1, 9},
      {"010", 1, 8},
      {"07", 1, 7},
      {"08", 1, 0},
      {"0", 1, 0},
      {"10", 1, 10},
      {"11", 1, 11},
      {"-1", 1, -1},
      {"+5", 1, 5},
      {"  6", 1, 6},
      {"\t6", 1, 6},
      {"7 ", 1, 7},
      {"7abc", 1, 7},
      {"7,5", 1, 7},
      {"7.5", 1, 7},
      {"4;5", 1, 4},
      {"abc", 0, 0},
      {"", 0, 0},
      {" ", 0, 0},
      {"x9", 0, 0},
      {",7", 0, 0},
      {"\"7\"", 0, 0},
      {"=7", 0, 0},
      {"%d", 0, 0},
      {zeros + "7", 1, 7},
      {zeros + "07", 0, 0},  // 30 characters do not fit
      {std::string(300, '7'), 0, 0},
  };
  for (const auto& row : rows) {
    reset();
    processor(true, kSse2);
    set_variable("QSL_DEBUG_CPU_TYPE", row.text.c_str());
    const int type = detected();
    EXPECT_EQ(qsl_debug_cpu_state, row.state) << row.text;
    EXPECT_EQ(type, row.state ? row.value : 2) << row.text;
  }
}

TEST_F(Detection, FlagsTakeLevelsAway) {
  const struct {
    int sse42, avx, avx2, avx512;
    int type;
  } rows[] = {
      {1, 1, 1, 1, 9}, {1, 1, 1, 0, 7}, {1, 1, 0, 0, 6}, {1, 0, 0, 0, 5},
      {0, 0, 0, 0, 4}, {1, 1, 0, 1, 9}, {1, 0, 1, 0, 7}, {0, 1, 0, 0, 6},
  };
  for (const auto& row : rows) {
    reset();
    processor(true, kAvx512);
    qsl_enable_parsed = 1;
    qsl_enable_sse42 = row.sse42;
    qsl_enable_avx = row.avx;
    qsl_enable_avx2 = row.avx2;
    qsl_enable_avx512 = row.avx512;
    EXPECT_EQ(detected(), row.type);
  }
}

TEST_F(Detection, FlagsDoNotCountOnAnotherVendorsProcessor) {
  processor(false, kAvx512);
  qsl_enable_parsed = 1;
  qsl_enable_sse42 = qsl_enable_avx = qsl_enable_avx2 = qsl_enable_avx512 = 0;
  EXPECT_EQ(detected(), 5);
}

// --- QSL_ENABLE_INSTRUCTIONS ---------------------------------------------------------------------

struct Flags {
  int sse42, avx, avx2, avx512, mic, mic_e1;
  bool operator==(const Flags&) const = default;
};
void PrintTo(const Flags& f, std::ostream* out) {
  *out << f.sse42 << f.avx << f.avx2 << f.avx512 << f.mic << f.mic_e1;
}
constexpr Flags kAll = {1, 1, 1, 1, 1, 1};

Flags flags() {
  return {qsl_enable_sse42,  qsl_enable_avx, qsl_enable_avx2,
          qsl_enable_avx512, qsl_enable_mic, qsl_enable_mic_e1};
}

struct Limit {
  const char* text;
  int level;
  std::uint64_t needs;  // the smallest of the processors below that has the feature; 0 for none
  Flags flags;
};
const Limit kLimits[] = {
    {"SSE4_2", 0, kSse42, {1, 0, 0, 0, 0, 0}},  {"AVX", 1, kAvx, {1, 1, 0, 0, 0, 0}},
    {"AVX2", 2, kAvx2, {1, 1, 1, 0, 0, 0}},     {"AVX512_MIC", 3, 0, kAll},
    {"AVX512", 4, kAvx512, {1, 1, 1, 1, 0, 0}}, {"AVX512_MIC_E1", 5, 0, kAll},
};
const std::uint64_t kProcessors[] = {kNothing, kSse2, kSsse3, kSse41, kSse42, kAvx, kAvx2, kAvx512};

class Enable : public Frame {};

TEST_F(Enable, EachKeywordOnEachProcessor) {
  for (const Limit& limit : kLimits) {
    for (std::uint64_t features : kProcessors) {
      reset();
      processor(true, features);
      set_variable("QSL_ENABLE_INSTRUCTIONS", limit.text);
      qsl::apply_enable_instructions();
      EXPECT_EQ(qsl_enable_parsed, 1);
      EXPECT_EQ(qsl_enable_level, limit.level) << limit.text;
      const bool met = limit.needs != 0 && (features & limit.needs) == limit.needs;
      EXPECT_EQ(flags(), met ? limit.flags : kAll) << limit.text << " on " << std::hex << features;
    }
  }
}

TEST_F(Enable, ALevelNeedsItsWholeMask) {
  const struct {
    const char* text;
    std::uint64_t features;
  } rows[] = {
      {"AVX2", kAvx512 & ~(1u << 20)},
      {"AVX2", kAvx512 & ~(1u << 13)},
      {"AVX512", kAvx512 & ~(std::uint64_t{1} << 37)},
      {"AVX512", kAvx512 & ~(std::uint64_t{1} << 38)},
      {"AVX512", kAvx512 & ~(1u << 24)},
  };
  for (const auto& row : rows) {
    reset();
    processor(true, row.features);
    set_variable("QSL_ENABLE_INSTRUCTIONS", row.text);
    qsl::apply_enable_instructions();
    EXPECT_EQ(flags(), kAll) << row.text;
  }
}

TEST_F(Enable, OnAnotherVendorsProcessorItIsReadWithoutEffect) {
  for (const Limit& limit : kLimits) {
    reset();
    processor(false, kAvx512);
    set_variable("QSL_ENABLE_INSTRUCTIONS", limit.text);
    qsl::apply_enable_instructions();
    EXPECT_EQ(qsl_enable_level, limit.level);
    EXPECT_EQ(qsl_enable_parsed, 1);
    EXPECT_EQ(flags(), kAll) << limit.text;
    EXPECT_EQ(detected(), 5);
  }
}

TEST_F(Enable, UnderAnOverrideItIsReadWithoutEffect) {
  for (const Limit& limit : kLimits) {
    reset();
    processor(true, kAvx512);
    override_type(6);
    set_variable("QSL_ENABLE_INSTRUCTIONS", limit.text);
    qsl::apply_enable_instructions();
    EXPECT_EQ(qsl_enable_level, limit.level);
    EXPECT_EQ(flags(), kAll) << limit.text;
  }
}

TEST_F(Enable, OtherTextsAreNoKeyword) {
  const std::string texts[] = {"",
                               " ",
                               "avx",
                               "Avx2",
                               "AVX ",
                               " AVX",
                               "AVX2,AVX",
                               "AVX;",
                               "AVX2:",
                               "SSE2",
                               "SSE4_1",
                               "SSE4.2",
                               "AVX51",
                               "AVX5122",
                               "AVX512_",
                               "AVX512_MIC_E",
                               "AVX512_MIC_E12",
                               "1",
                               "5",
                               "BRANCH=AVX",
                               "\"AVX\"",
                               "%s",
                               std::string(29, 'A'),
                               std::string(30, 'A'),
                               std::string(300, 'A')};
  for (const std::string& text : texts) {
    reset();
    processor(true, kAvx512);
    set_variable("QSL_ENABLE_INSTRUCTIONS", text.c_str());
    EXPECT_EQ(detected(), 9) << text;
    EXPECT_EQ(qsl_enable_level, -1) << text;
    EXPECT_EQ(qsl_enable_parsed, 1) << text;
    EXPECT_EQ(flags(), kAll) << text;
  }
}

TEST_F(Enable, TypesUnderEachKeyword) {
  const struct {
    const char* text;
    std::uint64_t features;
    int type;
  } rows[] = {
      {"SSE4_2", kAvx512, 5},   {"AVX", kAvx512, 6},        {"AVX2", kAvx512, 7},
      {"AVX512", kAvx512, 9},   {"AVX512_MIC", kAvx512, 9}, {"AVX512_MIC_E1", kAvx512, 9},
      {"AVX", kAvx2, 6},        {"AVX2", kAvx, 6},          {"AVX512", kAvx2, 7},
      {"AVX512_MIC", kAvx2, 7}, {"SSE4_2", kAvx, 5},        {"SSE4_2", kSsse3, 4},
      {"AVX", kSse42, 5},       {"avx2", kAvx512, 9},
  };
  for (const auto& row : rows) {
    reset();
    processor(true, row.features);
    set_variable("QSL_ENABLE_INSTRUCTIONS", row.text);
    EXPECT_EQ(detected(), row.type) << row.text;
  }
}

TEST_F(Enable, GettersReadTheVariableOnceAndReturnTheFlag) {
  int (*const getters[])() = {qsl_enable_sse42_get, qsl_enable_avx_get, qsl_enable_avx2_get,
                              qsl_enable_avx512_get};
  for (int first = 0; first < 4; ++first) {
    reset();
    processor(true, kAvx512);
    set_variable("QSL_ENABLE_INSTRUCTIONS", "AVX");
    EXPECT_EQ(getters[first](), first < 2 ? 1 : 0);
    EXPECT_EQ(qsl_enable_parsed, 1);
    set_variable("QSL_ENABLE_INSTRUCTIONS", "AVX512");
    EXPECT_EQ(qsl_enable_sse42_get(), 1);
    EXPECT_EQ(qsl_enable_avx_get(), 1);
    EXPECT_EQ(qsl_enable_avx2_get(), 0);
    EXPECT_EQ(qsl_enable_avx512_get(), 0);
  }
}

TEST_F(Enable, DetectionReadsTheVariableOnce) {
  processor(true, kAvx512);
  set_variable("QSL_ENABLE_INSTRUCTIONS", "AVX");
  EXPECT_EQ(detected(), 6);
  set_variable("QSL_ENABLE_INSTRUCTIONS", "SSE4_2");
  EXPECT_EQ(detected(), 6);
}

// --- Queries -------------------------------------------------------------------------------------

class TypeQuery : public Frame {};

TEST_F(TypeQuery, WithoutDetectionGivesTheWordAsItStands) {
  processor(true, kNothing);
  for (int word : {-1, -7, 0, 2, 3, 9, 42}) {
    qsl_cpu_type_cached = word;
    EXPECT_EQ(qsl_cpu_type_query(0), word);
    EXPECT_EQ(qsl_cpu_type_cached, word);
  }
}

TEST_F(TypeQuery, WithDetectionGivesTheRawTypeAndStoresNothing) {
  processor(true, kAvx2);
  EXPECT_EQ(qsl_cpu_type_query(1), 7);
  EXPECT_EQ(qsl_cpu_type_query(-5), 7);
  EXPECT_EQ(qsl_cpu_type_cached, -1);
  override_type(10);
  EXPECT_EQ(qsl_cpu_type_query(1), 10) << "not folded";
}

TEST_F(TypeQuery, WithDetectionEndsTheProcessBelowTheMinimum) {
  processor(true, kNothing);
  int code = kReturned;
  EXPECT_EQ(printed([&] { code = exit_code_of([] { qsl_cpu_type_query(1); }); }), kBelowMinimum);
  EXPECT_EQ(code, 1);
}

TEST(ModuleTable, HasTenEntriesOfWhichOneIsNull) {
  const char* const expected[] = {"qsl_p4.dll",  "qsl_p4.dll",    "qsl_p4.dll",  "qsl_p4.dll",
                                  "qsl_p4m.dll", "qsl_p4m3.dll",  "qsl_avx.dll", "qsl_avx2.dll",
                                  nullptr,       "qsl_avx512.dll"};
  static_assert(sizeof qsl_cpu_type_module / sizeof qsl_cpu_type_module[0] == 10);
  for (int type = 0; type < 10; ++type) EXPECT_STREQ(qsl_cpu_type_module[type], expected[type]);
}

// --- Vendor --------------------------------------------------------------------------------------

class Vendor : public Frame {};

TEST_F(Vendor, IsDecidedOnceAndCached) {
  const int first = qsl_cpu_is_genuine();
  EXPECT_TRUE(first == 0 || first == 1);
  EXPECT_EQ(qsl_is_genuine, first);
  for (int cached : {0, 1}) {
    qsl_is_genuine = cached;
    EXPECT_EQ(qsl_cpu_is_genuine(), cached);
  }
}

TEST_F(Vendor, UnderReproducibilityAFixedBranchAnswers) {
  for (int preferred : {0, 1}) {
    for (int value = 1; value <= 13; ++value) {
      reset();
      qsl_is_genuine = preferred;
      mode(value);
      const int expected = value <= 2 ? preferred : value != 3;
      EXPECT_EQ(qsl_cpu_is_genuine_cbwr(), expected) << "mode " << value;
    }
  }
}

TEST_F(Vendor, OffCountsAsAQueryOfTheProcessor) {
  qsl_is_genuine = 0;
  mode(0);
  EXPECT_EQ(qsl_cpu_is_genuine_cbwr(), 0);
}

TEST_F(Vendor, Sse41IsTheProcessorsOrTheBranchs) {
  for (std::uint64_t features : {kSsse3, kSse41}) {
    for (int value = 0; value <= 13; ++value) {
      reset();
      processor(true, features);
      mode(value);
      const int has = features == kSse41;
      EXPECT_EQ(qsl_cpu_has_sse41(), has);
      EXPECT_EQ(qsl_cpu_has_sse41_cbwr(), value <= 2 ? has : value >= 7) << "mode " << value;
    }
  }
}

TEST_F(Vendor, Fma4NeedsVendorAvxAndNoFixedBranch) {
  for (int value = 3; value <= 13; ++value) {
    reset();
    mode(value);
    qsl_has_fma4 = 1;
    EXPECT_EQ(qsl_cpu_has_fma4(), 0) << "mode " << value;
  }
  for (int value : {0, 2}) {
    reset();
    mode(value);
    qsl_has_fma4 = 1;
    EXPECT_EQ(qsl_cpu_has_fma4(), 1) << "cached";
    qsl_has_fma4 = -1;
    qsl_is_amd = 0;
    qsl_cpu_features = kAvx2;
    EXPECT_EQ(qsl_cpu_has_fma4(), 0) << "another vendor";
    qsl_has_fma4 = -1;
    qsl_is_amd = 1;
    qsl_cpu_features = kSse42;
    EXPECT_EQ(qsl_cpu_has_fma4(), 0) << "no AVX";
    EXPECT_EQ(qsl_has_fma4, 0);
    qsl_has_fma4 = -1;
    qsl_cpu_features = kAvx2;
    unsigned eax, ebx, ecx = 0, edx;
    __get_cpuid(0x80000001, &eax, &ebx, &ecx, &edx);
    EXPECT_EQ(qsl_cpu_has_fma4(), ecx >> 16 & 1) << "the processor's own bit";
  }
}

TEST_F(Vendor, TheLaterManyCoreTypeIsAskedOfTheRawTypeAndTheMode) {
  for (int type : {2, 7, 8, 9, 10}) {
    for (int value = 0; value <= 13; ++value) {
      reset();
      override_type(type);
      mode(value);
      const bool asks = value <= 2 || value == 13;
      EXPECT_EQ(qsl_cpu_is_mic_e1(), type == 10 && asks) << "type " << type << " mode " << value;
    }
  }
}

}  // namespace
