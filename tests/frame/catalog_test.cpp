// The external message catalog, a Windows message module in a folder named by the thread's locale.
//
// catalog_module.mc is the catalog of these tests.
#include "runtime/platform/windows/windows_api.h"
#include "tests/frame/support.h"

extern "C" {
extern int qsl_crt_family;
}

namespace {

using namespace frame_test;

class Catalog : public Frame {
 protected:
  void SetUp() override {
    Frame::SetUp();
    char temporary[MAX_PATH];
    GetTempPathA(sizeof temporary, temporary);
    folder_ = std::string(temporary) + "qsl-catalog-" + std::to_string(GetCurrentProcessId()) +
              "-" + std::to_string(++folders);
    ASSERT_TRUE(CreateDirectoryA(folder_.c_str(), nullptr));
    GetCurrentDirectoryA(sizeof before_, before_);
    ASSERT_TRUE(SetCurrentDirectoryA(folder_.c_str()));
    locale_ = GetThreadLocale();
    qsl_msg_try_load = 1;
    qsl_msg_use_builtin = 1;
  }
  void TearDown() override {
    SetThreadLocale(locale_);
    SetCurrentDirectoryA(before_);
    qsl_msg_try_load = 1;
    qsl_msg_use_builtin = 1;
    Frame::TearDown();
  }

  // Puts the catalog where a thread of this locale finds it.
  void install(LCID locale) const {
    const std::string folder = folder_ + "\\" + std::to_string(locale);
    ASSERT_TRUE(CreateDirectoryA(folder.c_str(), nullptr));
    const std::string from = program_folder() + "\\frame_modules\\qsl_msg.dll";
    ASSERT_TRUE(CopyFileA(from.c_str(), (folder + "\\qsl_msg.dll").c_str(), TRUE)) << from;
  }
  void install() const { install(GetThreadLocale()); }

 private:
  static inline int folders = 0;
  std::string folder_;
  char before_[MAX_PATH];
  LCID locale_;
};

std::string memory_error() {
  return printed([] { qsl_print_message(0, QSL_MSG_MEMORY, 0); });
}
constexpr char kBuiltIn[] = "Arvex QSL FATAL ERROR: memory allocation error.\n";
constexpr char kCatalog[] = "Catalog: out of memory.\n";

TEST_F(Catalog, ATextWithItsLineBreakIsUsed) {
  install();
  EXPECT_EQ(memory_error(), kCatalog);
  EXPECT_EQ(qsl_msg_try_load, 0);
  EXPECT_EQ(qsl_msg_use_builtin, 0);
}

TEST_F(Catalog, ATextIsAFormat) {
  install();
  EXPECT_EQ(printed([] { qsl_print_message(0, QSL_MSG_PARAMETER, 2, 3, "DGEMM"); }),
            "Catalog: parameter 3 of DGEMM.\n");
  const int info = 3;
  EXPECT_EQ(printed([&] { qsl_xerbla("DGEMM", &info, 5); }), "\nCatalog: parameter 3 of DGEMM.\n");
}

TEST_F(Catalog, ATextWithoutItsLineBreakIsThrownAway) {
  install();
  EXPECT_EQ(printed([] { qsl_print_message(0, QSL_MSG_CONDITION, 2, 3, "f"); }),
            "Arvex QSL INTERNAL ERROR: Condition 3 detected in function f.\n");
  EXPECT_EQ(printed([] { qsl_print_message(0, QSL_MSG_WORK_MEMORY, 1, "f"); }),
            "Arvex QSL INTERNAL ERROR: Not enough work memory in function f\n");
}

TEST_F(Catalog, AMissingMessageFallsBackForThatOneAlone) {
  install();
  EXPECT_EQ(memory_error(), kCatalog);
  EXPECT_EQ(printed([] { qsl_print_message(0, QSL_MSG_WORKSPACE, 1, "f"); }),
            "Arvex QSL INTERNAL ERROR: Insufficient workspace available in function f.\n");
  EXPECT_EQ(printed([] { qsl_print_message(0, QSL_MSG_CPU_NOT_SUPPORTED, 1, 8); }),
            "Arvex QSL ERROR: CPU 8 is not supported.\n");
  EXPECT_EQ(memory_error(), kCatalog);
}

TEST_F(Catalog, OnlyTheLastLineBreakIsTakenOff) {
  install();
  EXPECT_EQ(printed([] { qsl_print_message(0, QSL_MSG_OPTIONAL_PARAMETERS, 1, "f"); }),
            "Catalog: first line,\r\nsecond line of f.\n");
}

TEST_F(Catalog, ALongTextIsCut) {
  install();
  std::string expected;
  for (int i = 0; expected.size() < 511; ++i) expected += "0123456789"[i % 10];
  EXPECT_EQ(printed([] { qsl_print_message(0, 741, 1, "f"); }), expected + "\n");
}

TEST_F(Catalog, TheNewlineIsBuiltIn) {
  install();
  EXPECT_EQ(printed([] { qsl_print_message(0, QSL_MSG_NEWLINE, 0); }), "\n");
  EXPECT_EQ(qsl_msg_try_load, 1) << "and needs no catalog";
}

TEST_F(Catalog, WithoutACatalogTheTextIsBuiltInAndTheLoadTriedOnce) {
  EXPECT_EQ(memory_error(), kBuiltIn);
  EXPECT_EQ(qsl_msg_try_load, 0);
  EXPECT_EQ(qsl_msg_use_builtin, 1);
  install();
  EXPECT_EQ(memory_error(), kBuiltIn) << "a catalog that comes later is not seen";
  qsl_msg_try_load = 1;
  EXPECT_EQ(memory_error(), kCatalog);
}

TEST_F(Catalog, TheFolderIsNamedByTheLocaleOfTheThread) {
  const LCID german = 1031;
  install(german);
  const bool is_german = GetThreadLocale() == german;
  EXPECT_EQ(memory_error(), is_german ? kCatalog : kBuiltIn);
  ASSERT_TRUE(SetThreadLocale(german));
  qsl_msg_try_load = 1;
  EXPECT_EQ(memory_error(), kCatalog) << "and the text is in English whatever the locale";
}

TEST_F(Catalog, AFileThatIsNoModuleIsNoCatalog) {
  const std::string folder = std::to_string(GetThreadLocale());
  ASSERT_TRUE(CreateDirectoryA(folder.c_str(), nullptr));
  std::FILE* file = std::fopen((folder + "/qsl_msg.dll").c_str(), "w");
  ASSERT_NE(file, nullptr);
  std::fputs("not a module", file);
  std::fclose(file);
  EXPECT_EQ(memory_error(), kBuiltIn);
  EXPECT_EQ(qsl_msg_use_builtin, 1);
}

TEST(LateBinding, FindsOneOfTheTwoFamilies) {
  char text[8];
  EXPECT_EQ(qsl_snprintf(text, sizeof text, "%d", 42), 2);
  EXPECT_TRUE(qsl_crt_family == 1 || qsl_crt_family == 2) << qsl_crt_family;
}

}  // namespace
