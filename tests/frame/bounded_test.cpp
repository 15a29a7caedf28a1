// The bounded memory and string routines: every row of their tables, in the order of the checks.
#include "runtime/messages/bounded.h"

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

struct Report {
  std::string text;
  void* object;
  int code;
};
std::vector<Report> reports;
void note(const char* text, void* object, int code) { reports.push_back({text, object, code}); }

class Bounded : public ::testing::Test {
 protected:
  void SetUp() override {
    reports.clear();
    qsl_memory_constraint_handler = note;
    qsl_string_constraint_handler = note;
  }
  void TearDown() override {
    qsl_memory_constraint_handler = nullptr;
    qsl_string_constraint_handler = nullptr;
  }
  static void expect_report(const char* text, int code) {
    ASSERT_EQ(reports.size(), 1u) << text;
    EXPECT_EQ(reports[0].text, text);
    EXPECT_EQ(reports[0].object, nullptr);
    EXPECT_EQ(reports[0].code, code);
    reports.clear();
  }
};

// --- memcpy_s ------------------------------------------------------------------------------------

TEST_F(Bounded, MemcpyCopies) {
  char dest[8] = {9, 9, 9, 9, 9, 9, 9, 9};
  EXPECT_EQ(qsl_memcpy_s(dest, 8, "a\0c", 3), 0);
  EXPECT_EQ(std::memcmp(dest, "a\0c\t\t\t\t\t", 8), 0);
  EXPECT_EQ(qsl_memcpy_s(dest, 8, "12345678", 8), 0);
  EXPECT_EQ(std::memcmp(dest, "12345678", 8), 0);
  EXPECT_TRUE(reports.empty());
}

TEST_F(Bounded, MemcpyHasNoLimit) {
  std::vector<char> from(100000, 'x'), to(100000, 'y');
  EXPECT_EQ(qsl_memcpy_s(to.data(), to.size(), from.data(), from.size()), 0);
  EXPECT_EQ(from, to);
}

TEST_F(Bounded, MemcpyRowsInOrder) {
  char d[8] = "dest";
  const char s[8] = "src";
  EXPECT_EQ(qsl_memcpy_s(nullptr, 0, nullptr, 0), 400);
  expect_report("memcpy_s: dest is NULL", 400);
  EXPECT_EQ(qsl_memcpy_s(d, 0, nullptr, 0), 401);
  expect_report("memcpy_s: dmax is 0", 401);
  EXPECT_EQ(qsl_memcpy_s(d, 8, nullptr, 0), 401);
  expect_report("memcpy_s: smax is 0", 401);
  EXPECT_EQ(qsl_memcpy_s(d, 8, nullptr, 9), 403);
  expect_report("memcpy_s: smax exceeds dmax", 403);
  EXPECT_EQ(qsl_memcpy_s(d, 8, nullptr, 8), 400);
  expect_report("memcpy_s: src is NULL", 400);
  EXPECT_EQ(qsl_memcpy_s(d, 8, s, 9), 403);
  expect_report("memcpy_s: smax exceeds dmax", 403);
  EXPECT_STREQ(d, "dest") << "nothing is written on a failure";
}

TEST_F(Bounded, MemcpyOverlap) {
  char block[16] = "0123456789";
  EXPECT_EQ(qsl_memcpy_s(block, 4, block + 3, 4), 404);
  expect_report("memcpy_s: overlap undefined", 404);
  EXPECT_EQ(qsl_memcpy_s(block + 3, 4, block, 4), 404);
  expect_report("memcpy_s: overlap undefined", 404);
  EXPECT_STREQ(block, "0123456789");
  EXPECT_EQ(qsl_memcpy_s(block, 4, block + 4, 4), 0) << "neighbours";
  EXPECT_EQ(qsl_memcpy_s(block + 4, 4, block, 4), 0) << "neighbours";
  EXPECT_TRUE(reports.empty());
}

// --- strncpy_s -----------------------------------------------------------------------------------

TEST_F(Bounded, StrncpyStopsAtTheZeroOrTheCount) {
  const struct {
    int dmax;
    const char* src;
    std::size_t slen;
    const char* expected;
  } rows[] = {{8, "abc", 3, "abc"}, {8, "abc", 100, "abc"},    {8, "abc", 2, "ab"},
              {4, "abc", 3, "abc"}, {4, "abcdef", 3, "abc"},   {1, "", 1, ""},
              {2, "a", 4096, "a"},  {4096, "abc", 4096, "abc"}};
  for (const auto& row : rows) {
    std::vector<char> dest(static_cast<std::size_t>(row.dmax), 'x');
    EXPECT_EQ(qsl_strncpy_s(dest.data(), row.dmax, row.src, row.slen), 0) << row.src;
    EXPECT_STREQ(dest.data(), row.expected);
  }
  EXPECT_TRUE(reports.empty());
}

TEST_F(Bounded, StrncpyFailuresBeforeTheSourceLeaveTheDestination) {
  char d[8] = "dest";
  EXPECT_EQ(qsl_strncpy_s(nullptr, 0, nullptr, 0), 400);
  expect_report("strncpy_s: dest is null", 400);
  EXPECT_EQ(qsl_strncpy_s(d, 0, nullptr, 0), 401);
  expect_report("strncpy_s: dmax is 0", 401);
  for (int dmax : {-1, -2147483647 - 1, 4097, 2147483647}) {
    EXPECT_EQ(qsl_strncpy_s(d, dmax, nullptr, 0), 403);
    expect_report("strncpy_s: dmax exceeds max", 403);
  }
  EXPECT_STREQ(d, "dest");
}

TEST_F(Bounded, StrncpyFailuresFromTheSourceOnEmptyTheDestination) {
  const struct {
    const char* src;
    std::size_t slen;
    const char* text;
    int code;
  } rows[] = {
      {nullptr, 0, "strncpy_s: src is null", 400},
      {nullptr, 5000, "strncpy_s: src is null", 400},
      {"abc", 0, "strncpy_s: slen is zero", 401},
      {"abc", 4097, "strncpy_s: slen exceeds max", 403},
      {"abc", ~std::size_t{0}, "strncpy_s: slen exceeds max", 403},
      {"abcdefgh", 8, "strncpy_s: not enough space for src", 406},
      {"abcdefgh", 100, "strncpy_s: not enough space for src", 406},
      {"abcdefghijkl", 8, "strncpy_s: not enough space for src", 406},
  };
  for (const auto& row : rows) {
    char d[8] = "dest";
    EXPECT_EQ(qsl_strncpy_s(d, 8, row.src, row.slen), row.code) << row.text;
    EXPECT_EQ(d[0], '\0') << row.text;
    expect_report(row.text, row.code);
  }
}

TEST_F(Bounded, StrncpyOverlap) {
  char block[16] = "0123456789";
  EXPECT_EQ(qsl_strncpy_s(block, 8, block + 2, 6), 404);
  EXPECT_EQ(block[0], '\0');
  expect_report("strncpy_s: overlapping objects", 404);
  std::strcpy(block, "0123456789");
  EXPECT_EQ(qsl_strncpy_s(block + 2, 8, block, 6), 404);
  EXPECT_EQ(block[2], '\0');
  expect_report("strncpy_s: overlapping objects", 404);
  std::strcpy(block, "0123456789");
  EXPECT_EQ(qsl_strncpy_s(block, 8, block, 6), 404);
  expect_report("strncpy_s: overlapping objects", 404);
}

TEST_F(Bounded, StrncpyOfNeighboursThatDoNotMeet) {
  char block[16] = "0123456789";
  EXPECT_EQ(qsl_strncpy_s(block, 8, block + 8, 2), 0);
  EXPECT_STREQ(block, "89");
  EXPECT_TRUE(reports.empty());
}

TEST_F(Bounded, StrncpyWritesNothingBehindTheDestination) {
  for (int dmax = 1; dmax < 12; ++dmax) {
    char block[16];
    std::memset(block, '#', sizeof block);
    qsl_strncpy_s(block, dmax, "0123456789", 10);
    for (int i = dmax; i < 16; ++i) EXPECT_EQ(block[i], '#');
    reports.clear();
  }
}

// --- strnlen_s -----------------------------------------------------------------------------------

TEST_F(Bounded, StrnlenCountsUpToTheLimit) {
  EXPECT_EQ(qsl_strnlen_s("abc", 4096), 3u);
  EXPECT_EQ(qsl_strnlen_s("abc", 4), 3u);
  EXPECT_EQ(qsl_strnlen_s("abc", 3), 3u);
  EXPECT_EQ(qsl_strnlen_s("abc", 2), 2u);
  EXPECT_EQ(qsl_strnlen_s("", 1), 0u);
  const std::vector<char> open(4096, 'x');
  EXPECT_EQ(qsl_strnlen_s(open.data(), 4096), 4096u);
  EXPECT_TRUE(reports.empty());
}

TEST_F(Bounded, StrnlenRows) {
  EXPECT_EQ(qsl_strnlen_s(nullptr, 0), 0u);
  EXPECT_EQ(qsl_strnlen_s(nullptr, 5000), 0u);
  EXPECT_TRUE(reports.empty()) << "null is no failure";
  EXPECT_EQ(qsl_strnlen_s("abc", 0), 0u);
  expect_report("strnlen_s: dmax is 0", 401);
  for (std::size_t dmax : {std::size_t{4097}, ~std::size_t{0}}) {
    EXPECT_EQ(qsl_strnlen_s("abc", dmax), 0u);
    expect_report("strnlen_s: dmax exceeds max", 403);
  }
}

TEST_F(Bounded, TheDefaultHandlerDoesNothing) {
  qsl_memory_constraint_handler = nullptr;
  qsl_string_constraint_handler = nullptr;
  EXPECT_EQ(qsl_memcpy_s(nullptr, 0, nullptr, 0), 400);
  EXPECT_EQ(qsl_strncpy_s(nullptr, 0, nullptr, 0), 400);
  EXPECT_EQ(qsl_strnlen_s("abc", 0), 0u);
}

}  // namespace
