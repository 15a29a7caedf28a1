// The three exported calls, as a program sees them.
#include <cstdint>
#include <cstring>
#include <limits>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "qsl/memory.h"

namespace {

bool is_aligned(const void* p, std::size_t alignment) {
  return reinterpret_cast<std::uintptr_t>(p) % alignment == 0;
}

TEST(QslMalloc, ZeroBytesAreNull) {
  EXPECT_EQ(QSL_malloc(0, 64), nullptr);
  EXPECT_EQ(QSL_malloc(0, 0), nullptr);
  EXPECT_EQ(QSL_malloc(0, -1), nullptr);
}

TEST(QslMalloc, OddAlignmentsCountAs64) {
  const int lowest = std::numeric_limits<int>::min();
  for (int alignment :
       {3, 0, 1, 2, 4, 8, 16, 32, 63, 65, 96, 100, -1, -64, -4096, lowest, 0x7fffffff}) {
    void* p = QSL_malloc(100, alignment);
    ASSERT_NE(p, nullptr) << alignment;
    EXPECT_TRUE(is_aligned(p, 64)) << alignment;
    std::memset(p, 0x5a, 100);
    QSL_free(p);
  }
}

TEST(QslMalloc, PowersOfTwoFrom64AreKept) {
  for (int alignment = 64; alignment <= 1 << 26; alignment *= 2) {
    void* p = QSL_malloc(100, alignment);
    ASSERT_NE(p, nullptr) << alignment;
    EXPECT_TRUE(is_aligned(p, static_cast<std::size_t>(alignment))) << alignment;
    std::memset(p, 0x5a, 100);
    QSL_free(p);
  }
}

TEST(QslMalloc, EveryByteIsUsable) {
  for (std::size_t size = 1; size <= 5000; size += 37) {
    char* p = static_cast<char*>(QSL_malloc(size, 64));
    ASSERT_NE(p, nullptr);
    std::memset(p, static_cast<int>(size), size);
    EXPECT_EQ(p[size - 1], static_cast<char>(size));
    QSL_free(p);
  }
}

TEST(QslMalloc, SizesThatWrapAroundAreNull) {
  const std::size_t largest = std::numeric_limits<std::size_t>::max();
  for (std::size_t below = 0; below <= 256; ++below) {
    EXPECT_EQ(QSL_malloc(largest - below, 64), nullptr) << below;
  }
  EXPECT_EQ(QSL_malloc(largest / 2 + 1, 1 << 30), nullptr);
  EXPECT_EQ(QSL_malloc(largest - (1u << 30), 1 << 30), nullptr);
  EXPECT_EQ(QSL_malloc(largest - (1u << 30) - 15, 1 << 30), nullptr);
}

TEST(QslMalloc, MoreThanTheSystemHasIsNull) { EXPECT_EQ(QSL_malloc(0xf0000000u, 64), nullptr); }

TEST(QslFree, NullIsIgnored) { QSL_free(nullptr); }

TEST(QslFree, TakesABlockOfAnotherThread) {
  void* p = nullptr;
  std::thread([&] { p = QSL_malloc(1000, 64); }).join();
  ASSERT_NE(p, nullptr);
  std::memset(p, 1, 1000);
  QSL_free(p);
}

TEST(QslFreeBuffers, LeavesBlocksOfQslMallocAlone) {
  char* p = static_cast<char*>(QSL_malloc(1000, 128));
  ASSERT_NE(p, nullptr);
  std::memset(p, 7, 1000);
  QSL_Free_Buffers();
  QSL_Free_Buffers();
  for (int i = 0; i < 1000; ++i) ASSERT_EQ(p[i], 7);
  QSL_free(p);
  QSL_Free_Buffers();
}

TEST(QslFreeBuffers, SafeFromSeveralThreads) {
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([] {
      for (int i = 0; i < 300; ++i) {
        void* p = QSL_malloc(100 + static_cast<std::size_t>(i), 64);
        QSL_Free_Buffers();
        QSL_free(p);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
