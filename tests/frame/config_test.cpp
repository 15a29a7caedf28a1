// The thread variables and the version record.
//
// The variables are read once a process, so each case runs in a child that prints what it read.
#include <cstdio>
#include <cstring>

#include "runtime/config/threads.h"
#include "runtime/config/version.h"
#include "tests/frame/support.h"

namespace {

using namespace frame_test;

void print_settings() {
  const qsl_thread_settings& s = *qsl_get_thread_settings();
  std::printf("threads %d stripes %d domains %d %d %d %d %d omp %d node %d level %d dynamic %d\n",
              s.num_threads, s.num_stripes, s.domain_all, s.domain_blas, s.domain_fft, s.domain_vml,
              s.domain_pardiso, s.omp_num_threads, s.processes_per_node, s.mpi_thread_level,
              s.dynamic);
  std::printf("used %d %d %d %d %d %d %d\n", qsl_get_max_threads(),
              qsl_get_domain_threads(QSL_DOMAIN_ALL), qsl_get_domain_threads(QSL_DOMAIN_BLAS),
              qsl_get_domain_threads(QSL_DOMAIN_FFT), qsl_get_domain_threads(QSL_DOMAIN_VML),
              qsl_get_domain_threads(QSL_DOMAIN_PARDISO), qsl_get_dynamic());
}

constexpr int kNone = -12345;  // any negative number: the variable gave none

struct Settings {
  int threads = kNone, stripes = kNone;
  int all = kNone, blas = kNone, fft = kNone, vml = kNone, pardiso = kNone;
  int omp = kNone, node = kNone, level = kNone, dynamic = 1;
  bool operator==(const Settings&) const = default;
};
void PrintTo(const Settings& s, std::ostream* out) {
  for (int value : {s.threads, s.stripes, s.all, s.blas, s.fft, s.vml, s.pardiso, s.omp, s.node,
                    s.level, s.dynamic}) {
    *out << value << ' ';
  }
}

class ThreadVariables : public Frame {
 protected:
  static Settings read() {
    Settings s;
    int used[7] = {};
    const std::string text = output_of_child("--settings");
    const int items = std::sscanf(
        text.c_str(),
        "threads %d stripes %d domains %d %d %d %d %d omp %d node %d level %d dynamic %d "
        "used %d %d %d %d %d %d %d",
        &s.threads, &s.stripes, &s.all, &s.blas, &s.fft, &s.vml, &s.pardiso, &s.omp, &s.node,
        &s.level, &s.dynamic, &used[0], &used[1], &used[2], &used[3], &used[4], &used[5], &used[6]);
    EXPECT_EQ(items, 18) << text;
    for (int value : used) EXPECT_EQ(value, 1) << "a sequential library works with one thread";
    for (int* value : {&s.threads, &s.stripes, &s.all, &s.blas, &s.fft, &s.vml, &s.pardiso, &s.omp,
                       &s.node, &s.level}) {
      if (*value < 0) *value = kNone;
    }
    return s;
  }
  static Settings read(const char* name, const std::string& value) {
    set_variable(name, value.c_str());
    const Settings s = read();
    set_variable(name, nullptr);
    return s;
  }
};

TEST_F(ThreadVariables, UnsetGiveNone) { EXPECT_EQ(read(), Settings()); }

TEST_F(ThreadVariables, NumThreads) {
  const struct {
    std::string text;
    int value;
  } rows[] = {{"8", 8},
              {"1", 1},
              {"0", kNone},
              {"000", kNone},
              {"0012", 12},
              {"-4", 1},
              {"abc", 1},
              {"4 ", 1},
              {" 4", 1},
              {"4,2", 1},
              {"4.0", 1},
              {"+4", 1},
              {"0x10", 1},
              {"", kNone},
              {std::string(254, '0') + "7", 7},
              {std::string(256, '1'), kNone}};
  for (const auto& row : rows) {
    Settings expected;
    expected.threads = row.value;
    EXPECT_EQ(read("QSL_NUM_THREADS", row.text), expected) << row.text;
  }
}

TEST_F(ThreadVariables, NumStripes) {
  const struct {
    std::string text;
    int value;
  } rows[] = {{"8", 8},      {"0", 0},      {"007", 7},  {"-4", kNone}, {"abc", kNone},
              {"4 ", kNone}, {"+4", kNone}, {"", kNone}, {"4;", kNone}, {"4.5", kNone}};
  for (const auto& row : rows) {
    Settings expected;
    expected.stripes = row.value;
    EXPECT_EQ(read("QSL_NUM_STRIPES", row.text), expected) << row.text;
  }
}

TEST_F(ThreadVariables, DomainList) {
  const char name[] = "QSL_DOMAIN_NUM_THREADS";
  Settings five;
  five.all = 1, five.blas = 2, five.fft = 3, five.vml = 4, five.pardiso = 5;
  const char items[] =
      "QSL_DOMAIN_ALL=1#QSL_DOMAIN_BLAS=2#QSL_DOMAIN_FFT=3#QSL_DOMAIN_VML=4#"
      "QSL_DOMAIN_PARDISO=5";
  for (const char* separator : {" ", ",", ";", ":", "\"", "'", ", ", " ;: ", "\" \""}) {
    std::string text;
    for (const char* p = items; *p; ++p) text += *p == '#' ? separator : std::string(1, *p);
    EXPECT_EQ(read(name, text), five) << text;
    EXPECT_EQ(read(name, separator + text + separator), five) << text;
  }
  Settings blas;
  blas.blas = 4;
  EXPECT_EQ(read(name, "QSL_DOMAIN_BLAS=4"), blas);
  EXPECT_EQ(read(name, "QSL_DOMAIN_LAPACK=4 QSL_DOMAIN_BLAS=4"), blas) << "an unknown name";
  EXPECT_EQ(read(name, "QSL_DOMAIN_BLAS=3,QSL_DOMAIN_BLAS=4"), blas) << "the last one counts";
  blas.blas = 1;
  EXPECT_EQ(read(name, "QSL_DOMAIN_BLAS="), blas) << "an empty value counts as 1";
  EXPECT_EQ(read(name, "QSL_DOMAIN_BLAS=,nonsense"), blas);
  for (const char* text : {"", " ", ",;:", "nonsense", "=", "=4", "QSL_DOMAIN_BLAS",
                           "QSL_DOMAIN_BLASX=4", "qsl_domain_blas=4"}) {
    EXPECT_EQ(read(name, text), Settings()) << text;
  }
}

TEST_F(ThreadVariables, OmpNumThreads) {
  Settings expected;
  expected.omp = 6;
  EXPECT_EQ(read("OMP_NUM_THREADS", "6"), expected);
}

TEST_F(ThreadVariables, ProcessesPerNodeInTheirOrder) {
  const char* const names[] = {"QSL_MPI_PPN", "A_MPI_NUMBER_OF_MPI_PROCESSES_PER_NODE",
                               "A_MPI_PIN_MAPPING", "OMPI_COMM_WORLD_LOCAL_SIZE",
                               "MPI_LOCALNRANKS"};
  Settings expected;
  int number = 11;
  for (const char* name : names) {
    expected.node = number;
    EXPECT_EQ(read(name, std::to_string(number)), expected) << name;
    ++number;
  }
  // All at once, and the first taken away one by one.
  for (int i = 0; i < 5; ++i) set_variable(names[i], std::to_string(21 + i).c_str());
  for (int i = 0; i < 5; ++i) {
    expected.node = 21 + i;
    EXPECT_EQ(read(), expected) << names[i];
    set_variable(names[i], nullptr);
  }
}

TEST_F(ThreadVariables, MpiThreadLevel) {
  Settings expected;
  expected.level = 3;
  EXPECT_EQ(read("A_MPI_THREAD_LEVEL", "3"), expected);
}

TEST_F(ThreadVariables, DynamicIsTurnedOffByTwoSpellings) {
  for (const char* text : {"FALSE", "false"}) {
    Settings expected;
    expected.dynamic = 0;
    EXPECT_EQ(read("QSL_DYNAMIC", text), expected);
  }
  for (const char* text : {"", "TRUE", "False", "FALSE ", "0", "no", "falsehood"}) {
    EXPECT_EQ(read("QSL_DYNAMIC", text), Settings()) << text;
  }
}

TEST_F(ThreadVariables, AllAtOnce) {
  set_variable("QSL_NUM_THREADS", "8");
  set_variable("QSL_NUM_STRIPES", "2");
  set_variable("QSL_DOMAIN_NUM_THREADS", "QSL_DOMAIN_ALL=3 QSL_DOMAIN_FFT=");
  set_variable("OMP_NUM_THREADS", "5");
  set_variable("QSL_DYNAMIC", "false");
  Settings expected;
  expected.threads = 8, expected.stripes = 2, expected.all = 3, expected.fft = 1, expected.omp = 5;
  expected.dynamic = 0;
  EXPECT_EQ(read(), expected);
}

// --- Version -------------------------------------------------------------------------------------

class Version : public Frame {};

TEST_F(Version, Record) {
  qsl_version version;
  std::memset(&version, 0x5a, sizeof version);
  qsl_get_version(&version);
  EXPECT_EQ(version.major, 2018);
  EXPECT_EQ(version.minor, 0);
  EXPECT_EQ(version.update, 2);
  EXPECT_STREQ(version.product_status, "Product");
  EXPECT_STREQ(version.build, "20180127");
  EXPECT_STREQ(version.platform, "32-bit");
  EXPECT_EQ(offsetof(qsl_version, product_status), 12u);
  EXPECT_EQ(sizeof version, 28u);
}

TEST_F(Version, ProcessorTexts) {
  const char general[] = "Arvex(R) Architecture processors";
  const struct {
    int type;
    const char* text;
  } rows[] = {
      {2, "Arvex(R) Streaming SIMD Extensions 2 (Arvex(R) SSE2) enabled processors"},
      {3, general},
      {4, "Arvex(R) Supplemental Streaming SIMD Extensions 3 (Arvex(R) SSSE3) enabled processors"},
      {5, "Arvex(R) Streaming SIMD Extensions 4.2 (Arvex(R) SSE4.2) enabled processors"},
      {6, "Arvex(R) Advanced Vector Extensions (Arvex(R) AVX) enabled processors"},
      {7, "Arvex(R) Advanced Vector Extensions 2 (Arvex(R) AVX2) enabled processors"},
      {8, general},
      {9, "Arvex(R) Advanced Vector Extensions 512 (Arvex(R) AVX-512) enabled processors"},
      {10, general},
  };
  qsl_version version;
  for (const auto& row : rows) {
    for (int value : {0, 2, 3, 4, 10}) {
      for (bool preferred : {false, true}) {
        reset();
        qsl_is_genuine = preferred;
        qsl_cpu_type_cached = row.type;
        mode(value);
        qsl_get_version(&version);
        const bool named = value <= 2 ? preferred : value != 3;
        EXPECT_STREQ(version.processor, named ? row.text : general)
            << "type " << row.type << " mode " << value << " preferred " << preferred;
      }
    }
  }
}

TEST_F(Version, ARefusedProcessorGetsTheGeneralTextAndEndsNothing) {
  set_variable("QSL_DEBUG_CPU_TYPE", "8");
  qsl_version version;
  int code = 0;
  EXPECT_EQ(printed([&] { code = exit_code_of([&] { qsl_get_version(&version); }); }), "");
  EXPECT_EQ(code, kReturned);
  EXPECT_STREQ(version.processor, "Arvex(R) Architecture processors");
}

TEST_F(Version, String) {
  std::vector<char> buffer(512, '#');
  qsl_get_version_string(buffer.data());
  EXPECT_STREQ(buffer.data(),
               "Arvex(R) Quartz Solver Library Version 2018.0.2 Product Build 20180127 for 32-bit "
               "applications");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && std::strcmp(argv[1], "--settings") == 0) {
    print_settings();
    return 0;
  }
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
