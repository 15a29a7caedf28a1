// Dispatchers: which variant, stored when, and what becomes of arguments and results.
//
// The routines here are made up; each variant tells who it is, or stores its arguments as the raw
// words in which they came.
#include "runtime/dispatch/dispatcher.h"

#include <atomic>
#include <cstring>

#include "tests/frame/support.h"

#define FOR_EACH_LEVEL_6(define) \
  define(p4) define(p4m) define(p4m3) define(avx) define(avx2) define(avx512)
#define FOR_EACH_LEVEL(define) FOR_EACH_LEVEL_6(define) define(cnr)

// clang-format off
QSL_DECLARE_VARIANTS(const char*, frame_seven, (int n));
QSL_DECLARE_REPRODUCIBLE(const char*, frame_seven, (int n));
QSL_DECLARE_VARIANTS(const char*, frame_six, (int n));
QSL_DECLARE_VARIANTS(const char*, frame_shared, (int n));
QSL_REPRODUCIBLE_DISPATCHER(frame_seven, cnr);
QSL_DISPATCHER(frame_six);
QSL_REPRODUCIBLE_DISPATCHER(frame_shared, p4);
#define DEFINE_NAMES(level) \
  namespace qsl { namespace level { const char* frame_seven(int n) { return n == 77 ? #level : "?"; } } }
#define DEFINE_NAMES_6(level)                                                            \
  namespace qsl { namespace level {                                                      \
  const char* frame_six(int n) { return n == 77 ? #level : "?"; }                        \
  const char* frame_shared(int n) { return n == 77 ? #level : "?"; }                     \
  } }
FOR_EACH_LEVEL(DEFINE_NAMES)
FOR_EACH_LEVEL_6(DEFINE_NAMES_6)

// The stack as it is: twenty words.
#define WORDS                                                                                     \
  (unsigned a0, unsigned a1, unsigned a2, unsigned a3, unsigned a4, unsigned a5, unsigned a6,     \
   unsigned a7, unsigned a8, unsigned a9, unsigned a10, unsigned a11, unsigned a12, unsigned a13, \
   unsigned a14, unsigned a15, unsigned a16, unsigned a17, unsigned a18, unsigned a19)
static unsigned words[20];
QSL_DECLARE_VARIANTS(long long, frame_words, WORDS);
QSL_DECLARE_REPRODUCIBLE(long long, frame_words, WORDS);
QSL_REPRODUCIBLE_DISPATCHER(frame_words, cnr);
#define DEFINE_WORDS(level)                                                                     \
  namespace qsl { namespace level { long long frame_words WORDS {                               \
    const unsigned all[] = {a0, a1, a2, a3, a4, a5, a6, a7, a8, a9, a10, a11, a12, a13, a14, a15, \
                            a16, a17, a18, a19};                                                \
    std::memcpy(words, all, sizeof all);                                                        \
    return 0x0123456789abcdefLL;                                                                \
  } } }
FOR_EACH_LEVEL(DEFINE_WORDS)

// Mixed arguments, floating-point ones among them.
#define MIXED (int n, double alpha, const double* x, int incx, float beta, double gamma)
static struct { int n; std::uint64_t alpha; const double* x; int incx; std::uint32_t beta; std::uint64_t gamma; } mixed;
QSL_DECLARE_VARIANTS(double, frame_mixed, MIXED);
QSL_DECLARE_REPRODUCIBLE(double, frame_mixed, MIXED);
QSL_REPRODUCIBLE_DISPATCHER(frame_mixed, cnr);
static double mixed_result;
#define DEFINE_MIXED(level)                              \
  namespace qsl { namespace level { double frame_mixed MIXED { \
    mixed.n = n; mixed.x = x; mixed.incx = incx;         \
    std::memcpy(&mixed.alpha, &alpha, sizeof alpha);     \
    std::memcpy(&mixed.beta, &beta, sizeof beta);        \
    std::memcpy(&mixed.gamma, &gamma, sizeof gamma);     \
    return mixed_result;                                 \
  } } }
FOR_EACH_LEVEL(DEFINE_MIXED)

// A result in memory: the caller passes its address, the callee takes it off the stack.
struct Record { int values[6]; };
QSL_DECLARE_VARIANTS(Record, frame_record, (int first));
QSL_DECLARE_REPRODUCIBLE(Record, frame_record, (int first));
QSL_REPRODUCIBLE_DISPATCHER(frame_record, cnr);
#define DEFINE_RECORD(level)                                     \
  namespace qsl { namespace level { Record frame_record(int first) { \
    return {{first, first + 1, first + 2, first + 3, first + 4, first + 5}}; \
  } } }
FOR_EACH_LEVEL(DEFINE_RECORD)
// clang-format on

namespace {

using namespace frame_test;

std::string not_supported(int type) {
  return "Arvex QSL ERROR: CPU " + std::to_string(type) + " is not supported.\n";
}

class Dispatcher : public Frame {
 protected:
  void SetUp() override { clear(); }

  static void clear() {
    reset();
    for (qsl::Code volatile* slot :
         {&qsl_slot_frame_seven, &qsl_slot_frame_six, &qsl_slot_frame_shared, &qsl_slot_frame_words,
          &qsl_slot_frame_mixed, &qsl_slot_frame_record}) {
      *slot = nullptr;
    }
  }
  static void decided(int type, int cbwr_mode) {
    clear();
    qsl_cpu_type_cached = type;
    mode(cbwr_mode);
  }
};

TEST_F(Dispatcher, SlotsAreNullUntilTheFirstCall) {
  EXPECT_EQ(qsl_slot_frame_seven, nullptr);
  decided(7, 0);
  qsl_dispatch_frame_seven(77);
  EXPECT_EQ(qsl_slot_frame_seven, reinterpret_cast<qsl::Code>(&qsl::avx2::frame_seven));
  EXPECT_EQ(qsl_slot_frame_six, nullptr) << "each routine has its own";
}

TEST_F(Dispatcher, EachTypeUnderEachMode) {
  const struct {
    int type;
    const char *variant, *under_a_mode;
  } rows[] = {{2, "p4", "cnr"},  {4, "p4m", "cnr"},   {5, "p4m3", "p4m3"},
              {6, "avx", "avx"}, {7, "avx2", "avx2"}, {9, "avx512", "avx512"}};
  for (const auto& row : rows) {
    for (int value : {0, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13}) {
      decided(row.type, value);
      const char* expected = value == 0 ? row.variant : row.under_a_mode;
      for (int call = 0; call < 3; ++call) {
        EXPECT_STREQ(qsl_dispatch_frame_seven(77), expected) << row.type << " mode " << value;
        EXPECT_STREQ(qsl_dispatch_frame_six(77), row.variant) << row.type << " mode " << value;
        const char* shared = value != 0 && row.type < 5 ? "p4" : row.variant;
        EXPECT_STREQ(qsl_dispatch_frame_shared(77), shared) << row.type << " mode " << value;
      }
    }
  }
}

TEST_F(Dispatcher, TheModeIsReadFromTheVariable) {
  set_variable("QSL_DEBUG_CPU_TYPE", "2");
  set_variable("QSL_CBWR", "nonsense");
  EXPECT_STREQ(qsl_dispatch_frame_seven(77), "cnr");
  EXPECT_STREQ(qsl_dispatch_frame_six(77), "p4");
}

TEST_F(Dispatcher, ABranchNameThatBecomesAutoStillSelectsTheReproducibleBody) {
  processor(false, kSse2);
  set_variable("QSL_CBWR", "AVX2");
  EXPECT_STREQ(qsl_dispatch_frame_seven(77), "cnr");
}

TEST_F(Dispatcher, CompatibleIsTheReproducibleBodyOnEveryProcessor) {
  for (std::uint64_t features : {kSse2, kSsse3, kAvx2, kAvx512}) {
    clear();
    processor(true, features);
    set_variable("QSL_CBWR", "COMPATIBLE");
    EXPECT_STREQ(qsl_dispatch_frame_seven(77), "cnr");
    EXPECT_STREQ(qsl_dispatch_frame_six(77), "p4");
  }
}

TEST_F(Dispatcher, TheVariantStaysWhateverChangesAfterwards) {
  decided(7, 0);
  EXPECT_STREQ(qsl_dispatch_frame_seven(77), "avx2");
  qsl_cpu_type_cached = 2;
  qsl_cbwr_mode = 3;
  set_variable("QSL_DEBUG_CPU_TYPE", "4");
  EXPECT_STREQ(qsl_dispatch_frame_seven(77), "avx2");
  EXPECT_STREQ(qsl_dispatch_frame_six(77), "p4") << "a slot that is still empty";
}

TEST_F(Dispatcher, TypesWithoutVariantsAreRefused) {
  for (int type : {0, 1, 3, 8, 10, 11, 100}) {
    for (int value : {0, 3}) {
      decided(type, value);
      int code = 0;
      EXPECT_EQ(printed([&] { code = exit_code_of([] { qsl_dispatch_frame_seven(77); }); }),
                not_supported(type));
      EXPECT_EQ(code, 1);
      EXPECT_EQ(qsl_slot_frame_seven, nullptr);
      EXPECT_EQ(init_lock_at_exit(), 0);
    }
  }
}

TEST_F(Dispatcher, OverrideOfType3IsRefusedHere) {
  set_variable("QSL_DEBUG_CPU_TYPE", "3");
  EXPECT_EQ(qsl_get_cpu_type(), 3);
  int code = 0;
  EXPECT_EQ(printed([&] { code = exit_code_of([] { qsl_dispatch_frame_six(77); }); }),
            not_supported(3));
  EXPECT_EQ(code, 1);
}

TEST_F(Dispatcher, AnOverrideRefusedAtTheDecisionIsToldOnce) {
  for (int type : {0, 1, 8, 10}) {
    clear();
    set_variable("QSL_DEBUG_CPU_TYPE", std::to_string(type).c_str());
    int code = 0;
    EXPECT_EQ(printed([&] { code = exit_code_of([] { qsl_dispatch_frame_seven(77); }); }),
              not_supported(type));
    EXPECT_EQ(code, 1);
  }
}

TEST_F(Dispatcher, ForwardsEveryWordOfTheStackOnSlowAndFastPath) {
  for (int type : {2, 7}) {
    decided(type, 0);
    for (unsigned call = 0; call < 3; ++call) {
      const unsigned s = 0x9e3779b9u * (call + 1);
      const long long result = qsl_dispatch_frame_words(
          s, s + 1, s + 2, s + 3, s + 4, s + 5, s + 6, s + 7, s + 8, s + 9, s + 10, s + 11, s + 12,
          s + 13, s + 14, s + 15, s + 16, s + 17, s + 18, s + 19);
      EXPECT_EQ(result, 0x0123456789abcdefLL) << "both halves of the result";
      for (unsigned i = 0; i < 20; ++i) EXPECT_EQ(words[i], s + i) << "call " << call;
    }
  }
}

TEST_F(Dispatcher, ForwardsFloatingPointBitsAsTheyAre) {
  // Called as words, so that nothing on this side touches the numbers.
  using AsWords =
      double (*)(int, unsigned, unsigned, const double*, int, unsigned, unsigned, unsigned);
  const auto call =
      reinterpret_cast<AsWords>(reinterpret_cast<void (*)()>(&qsl_dispatch_frame_mixed));
  const std::uint64_t patterns[] = {
      0x7ff0000000000001,  // signalling NaNs
      0xfff4deadbeef1234,
      0x7ff8000000000001,  // quiet NaNs
      0xffffffffffffffff,
      0x7ff0000000000000,  // infinity
      0x0000000000000001,  // denormal
      0x8000000000000000,  // negative zero
      0x3ff0000000000001,
  };
  const double x = 0;
  for (int type : {4, 6}) {
    decided(type, 0);
    for (std::uint64_t alpha : patterns) {
      for (unsigned beta : {0x7f800001u, 0xffa5a5a5u, 0x80000000u, 1u}) {
        const std::uint64_t gamma = ~alpha;
        call(-5, static_cast<unsigned>(alpha), static_cast<unsigned>(alpha >> 32), &x, 9, beta,
             static_cast<unsigned>(gamma), static_cast<unsigned>(gamma >> 32));
        EXPECT_EQ(mixed.n, -5);
        EXPECT_EQ(mixed.alpha, alpha);
        EXPECT_EQ(mixed.x, &x);
        EXPECT_EQ(mixed.incx, 9);
        EXPECT_EQ(mixed.beta, beta);
        EXPECT_EQ(mixed.gamma, gamma);
      }
    }
  }
}

TEST_F(Dispatcher, ForwardsFloatingPointResults) {
  for (double value : {3.25, -0.0, 1e-310, -1e300, __builtin_inf()}) {
    decided(6, 0);
    mixed_result = value;
    for (int call = 0; call < 2; ++call) {
      const double result = qsl_dispatch_frame_mixed(1, 2.0, nullptr, 3, 4.0f, 5.0);
      EXPECT_EQ(std::memcmp(&result, &value, sizeof value), 0) << value;
    }
  }
}

TEST_F(Dispatcher, RaisesNoFloatingPointExceptionOfItsOwn) {
  decided(6, 0);
  using AsWords =
      double (*)(int, unsigned, unsigned, const double*, int, unsigned, unsigned, unsigned);
  const auto call =
      reinterpret_cast<AsWords>(reinterpret_cast<void (*)()>(&qsl_dispatch_frame_mixed));
  mixed_result = 1;
  for (int round = 0; round < 2; ++round) {
    asm volatile("fnclex");
    call(1, 1u, 0x7ff00000u, nullptr, 1, 0x7f800001u, 1u, 0x7ff00000u);
    unsigned short status;
    asm volatile("fnstsw %0" : "=a"(status));
    EXPECT_EQ(status & 0x3f, 0) << "round " << round;
  }
}

TEST_F(Dispatcher, ForwardsResultsInMemory) {
  decided(5, 0);
  for (int first : {10, 20, 30}) {
    const Record record = qsl_dispatch_frame_record(first);
    for (int i = 0; i < 6; ++i) EXPECT_EQ(record.values[i], first + i);
  }
}

TEST_F(Dispatcher, RacingFirstCallsEndInTheSameVariant) {
  const char* const variants[] = {"p4", "p4m", "avx2", "avx512"};
  const char* const types[] = {"2", "4", "7", "9"};
  for (int round = 0; round < 200; ++round) {
    clear();
    set_variable("QSL_DEBUG_CPU_TYPE", types[round % 4]);
    const char* expected = variants[round % 4];
    std::atomic<int> wrong{0};
    race(4, [&] {
      if (std::strcmp(qsl_dispatch_frame_seven(77), expected) != 0) ++wrong;
      if (std::strcmp(qsl_dispatch_frame_six(77), expected) != 0) ++wrong;
    });
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(qsl_init_lock, 0);
  }
}

}  // namespace
