// The environment getter: what fits, what does not, and the guard.
#include "runtime/dispatch/environment.h"

#include "tests/frame/support.h"

namespace {

constexpr char kName[] = "QSL_TEST_VARIABLE";

class Getenv : public frame_test::Frame {
 protected:
  void TearDown() override {
    frame_test::set_variable(kName, nullptr);
    Frame::TearDown();
  }

  struct Answer {
    int result;
    std::string text;
  };
  // Reads into a buffer of exactly `size` bytes, so that a sanitizer sees a byte too many.
  static Answer get(const char* name, int size) {
    std::vector<char> buffer(static_cast<std::size_t>(size), 'x');
    const int result = qsl_getenv(name, buffer.data(), size);
    const std::string whole(buffer.begin(), buffer.end());
    const std::size_t end = whole.find('\0');
    if (end == std::string::npos) ADD_FAILURE() << "not terminated";
    return {result, whole.substr(0, end)};
  }
};

TEST_F(Getenv, UnsetIsEmpty) {
  const Answer answer = get(kName, 30);
  EXPECT_EQ(answer.result, 0);
  EXPECT_EQ(answer.text, "");
}

TEST_F(Getenv, EmptyIsEmpty) {
  frame_test::set_variable(kName, "");
  const Answer answer = get(kName, 30);
  EXPECT_EQ(answer.result, 0);
  EXPECT_EQ(answer.text, "");
}

TEST_F(Getenv, AValueFitsWithItsZeroOrNotAtAll) {
  for (int size : {2, 16, 30, 32, 128, 256, 4096}) {
    for (int length : {1, size - 1, size, size + 1, 2 * size}) {
      const std::string value(static_cast<std::size_t>(length), 'v');
      frame_test::set_variable(kName, value.c_str());
      const Answer answer = get(kName, size);
      if (length < size) {
        EXPECT_EQ(answer.result, length) << size;
        EXPECT_EQ(answer.text, value) << size;
      } else {
        EXPECT_EQ(answer.result, -(length + 1)) << "the size needed, zero included, for " << size;
        EXPECT_EQ(answer.text, "") << size;
      }
    }
  }
}

TEST_F(Getenv, SeparatorsAreKept) {
  const char value[] = " =a;b,c:d \"e\" 'f'\t%s%n ";
  frame_test::set_variable(kName, value);
  EXPECT_EQ(get(kName, 128).text, value);
}

TEST_F(Getenv, TheGuardLeavesFourNames) {
  for (const char* name : {"MIC_LD_LIBRARY_PATH", "LD_LIBRARY_PATH", "QSLROOT", "LANG"}) {
    const Answer before = get(name, 4096);
    qsl_getenv_guard = 0;
    frame_test::set_variable("QSLROOT", "/somewhere");
    frame_test::set_variable("MIC_LD_LIBRARY_PATH", "/mic");
    qsl_getenv_guard = 1;
    const Answer after = get(name, 4096);
    qsl_getenv_guard = 0;
    EXPECT_EQ(after.text, get(name, 4096).text) << name << before.result;
  }
  qsl_getenv_guard = 1;
  EXPECT_EQ(get("QSLROOT", 128).text, "/somewhere");
  EXPECT_EQ(get("MIC_LD_LIBRARY_PATH", 128).text, "/mic");
  frame_test::set_variable("QSLROOT", nullptr);
  frame_test::set_variable("MIC_LD_LIBRARY_PATH", nullptr);
}

TEST_F(Getenv, TheGuardHidesEveryOtherName) {
  frame_test::set_variable(kName, "value");
  frame_test::set_variable("QSLROOT2", "value");
  for (int guard : {1, 2, 1000}) {
    qsl_getenv_guard = guard;
    for (const char* name : {kName, "QSLROOT2", "QSL_CBWR", "lang", "PATH"}) {
      const Answer answer = get(name, 128);
      EXPECT_EQ(answer.result, 0) << name;
      EXPECT_EQ(answer.text, "") << name;
    }
  }
  for (int guard : {0, -1}) {
    qsl_getenv_guard = guard;
    EXPECT_EQ(get(kName, 128).text, "value") << guard;
  }
  frame_test::set_variable("QSLROOT2", nullptr);
}

TEST_F(Getenv, TheGuardHidesTheSettings) {
  frame_test::set_variable("QSL_CBWR", "COMPATIBLE");
  qsl_getenv_guard = 1;
  EXPECT_EQ(qsl_cbwr_query(1), QSL_CBWR_OFF);
}

}  // namespace
