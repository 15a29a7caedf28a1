// The plain layer, its headers, the internal back end and the statistics.
#include <cstring>
#include <limits>
#include <vector>

#include "runtime/memory/services.h"
#include "tests/memory/support.h"

namespace memory_test {
namespace {

using Plain = Memory;
using InternalBackEnd = Memory;
using Statistics = Memory;

constexpr std::size_t kLargest = std::numeric_limits<std::size_t>::max();

TEST_F(Plain, OuterHeaderStandsRightBeforeTheBlock) {
  for (int alignment : {64, 128, 4096}) {
    void* p = QSL_malloc(100, alignment);
    const OuterHeader& header = outer_header(p);
    EXPECT_EQ(address(&header) + 16, address(p));
    EXPECT_EQ(header.total, 100u + 16 + static_cast<std::uint32_t>(alignment));
    EXPECT_EQ(header.reserved, 0u);
    EXPECT_EQ(header.alignment, static_cast<std::uint32_t>(alignment));
    const std::uint32_t raw = address(header.raw);
    EXPECT_EQ(address(p), (raw + 16 + header.alignment) & ~(header.alignment - 1));
    EXPECT_GE(address(p), raw + 16);
    EXPECT_LE(address(p) + 100, raw + header.total);
    QSL_free(p);
  }
}

TEST_F(Plain, HeaderHoldsTheAlignmentAfterTheRule) {
  for (int alignment : {3, -5, 0, 63, 65, 1000}) {
    void* p = QSL_malloc(1, alignment);
    EXPECT_EQ(outer_header(p).alignment, 64u);
    EXPECT_EQ(outer_header(p).total, 81u);
    QSL_free(p);
  }
}

TEST_F(Plain, NullRawWordMakesFreeDoNothing) {
  CountingBackEnd counting;
  void* p = QSL_malloc(100, 64);
  OuterHeader* header = static_cast<OuterHeader*>(p) - 1;
  void* const raw = header->raw;
  const int live = CountingBackEnd::live();
  const Totals before = statistics();
  header->raw = nullptr;
  QSL_free(p);
  EXPECT_EQ(CountingBackEnd::live(), live);
  EXPECT_EQ(statistics().blocks, before.blocks);
  header->raw = raw;
  QSL_free(p);
  EXPECT_EQ(CountingBackEnd::live(), live - 1);
}

TEST_F(Plain, TotalThatWrapsAroundIsNullAndAsksNobody) {
  CountingBackEnd counting;
  EXPECT_EQ(QSL_malloc(kLargest - 79, 64), nullptr);  // 2^32 exactly
  EXPECT_EQ(QSL_malloc(kLargest, 64), nullptr);
  EXPECT_EQ(QSL_malloc(kLargest - (1u << 30) - 15, 1 << 30), nullptr);
  EXPECT_EQ(CountingBackEnd::made() + CountingBackEnd::refused(), 0);
}

TEST_F(Plain, TotalThatFitsButWrapsInTheBackEndIsNull) {
  // The largest totals leave no room for the inner header's 16 bytes.
  for (std::size_t below = 80; below < 96; ++below) {
    EXPECT_EQ(QSL_malloc(kLargest - below, 64), nullptr) << below;
  }
}

TEST_F(Plain, FailingBackEndIsNullAndNothingIsCounted) {
  CountingBackEnd counting;
  CountingBackEnd::fail_all();
  EXPECT_EQ(QSL_malloc(100, 64), nullptr);
  EXPECT_EQ(qsl_mm_calloc(10, 10, 64), nullptr);
  CountingBackEnd::fail_none();
  EXPECT_EQ(CountingBackEnd::live(), 0);
  EXPECT_EQ(statistics().blocks, 0u);
}

// The block itself, the first table, the record: only the first matters to the caller.
TEST_F(Plain, MissingBookkeepingLeavesTheBlockStanding) {
  for (int fail_at = 0;; ++fail_at) {
    CountingBackEnd counting;
    CountingBackEnd::fail(fail_at);
    void* p = QSL_malloc(100, 64);
    const bool failed = CountingBackEnd::refused() > 0;
    CountingBackEnd::fail_none();
    EXPECT_EQ(p == nullptr, fail_at == 0) << fail_at;
    if (fail_at == 1 || fail_at == 2) {
      EXPECT_EQ(statistics().blocks, 0u) << fail_at;
    }
    totals = {};
    QSL_free(p);
    QSL_Free_Buffers();
    EXPECT_EQ(CountingBackEnd::live(), 0) << fail_at;
    totals = {};
    if (!failed) {
      EXPECT_EQ(fail_at, 3);
      break;
    }
  }
}

TEST_F(Plain, CallocIsZeroFilled) {
  void* dirty = QSL_malloc(4000, 64);
  std::memset(dirty, 0xff, 4000);
  QSL_free(dirty);
  const char* p = static_cast<char*>(qsl_mm_calloc(100, 40, 256));
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(address(p) % 256, 0u);
  EXPECT_EQ(outer_header(p).total, 4000u + 16 + 256);
  for (int i = 0; i < 4000; ++i) ASSERT_EQ(p[i], 0);
  QSL_free(const_cast<char*>(p));
}

TEST_F(Plain, CallocOfNothingIsNull) {
  EXPECT_EQ(qsl_mm_calloc(0, 8, 64), nullptr);
  EXPECT_EQ(qsl_mm_calloc(8, 0, 64), nullptr);
}

TEST_F(Plain, CallocDoesNotCheckTheProduct) {
  void* p = qsl_mm_calloc(0x10000, 0x10001, 64);  // 2^32 + 2^16
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(outer_header(p).total, 0x10000u + 80);
  QSL_free(p);
  EXPECT_EQ(qsl_mm_calloc(0x10000, 0x10000, 64), nullptr);  // 2^32, so nothing
}

TEST_F(InternalBackEnd, HeaderOfAPlainBlock) {
  ensure_setup();
  void* block = back_end.malloc(1000);
  const InnerHeader& header = inner_header(block);
  EXPECT_EQ(header.self, &header);
  EXPECT_EQ(address(block), address(header.self) + 16);
  EXPECT_EQ(header.is_hbw, 0u);
  EXPECT_EQ(header.bytes, 1016u);
  EXPECT_EQ(header.page, 4096u);
  back_end.free(block);
}

TEST_F(InternalBackEnd, SizeThatWrapsAroundIsNull) {
  ensure_setup();
  for (std::size_t below = 0; below < 16; ++below) {
    EXPECT_EQ(back_end.malloc(kLargest - below), nullptr);
  }
}

TEST_F(InternalBackEnd, BlockWithoutSelfIsLeftAlone) {
  alignas(16) InnerHeader header[2] = {};
  header[0].is_hbw = 1;
  internal_free(header + 1);
  header[0].is_hbw = 0;
  internal_free(header + 1);
  EXPECT_EQ(internal_realloc(header + 1, 100), nullptr);
  internal_free(nullptr);
}

TEST_F(InternalBackEnd, ReallocKeepsContentsAndHeader) {
  ensure_setup();
  char* block = static_cast<char*>(back_end.realloc(nullptr, 100));
  ASSERT_NE(block, nullptr);
  for (int i = 0; i < 100; ++i) block[i] = static_cast<char>(i);
  for (std::size_t size : {1000u, 1000000u, 100u}) {
    block = static_cast<char*>(back_end.realloc(block, size));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(inner_header(block).self, &inner_header(block));
    EXPECT_EQ(inner_header(block).bytes, size + 16);
    EXPECT_EQ(inner_header(block).page, 4096u);
    for (int i = 0; i < 100; ++i) ASSERT_EQ(block[i], i);
  }
  EXPECT_EQ(back_end.realloc(block, kLargest), nullptr);
  EXPECT_EQ(back_end.realloc(block, kLargest - 15), nullptr);
  EXPECT_EQ(back_end.realloc(block, 0xf0000000u), nullptr);
  for (int i = 0; i < 100; ++i) ASSERT_EQ(block[i], i);
  back_end.free(block);
}

TEST_F(Statistics, CountBlocksAndTheirTotals) {
  void* a = QSL_malloc(100, 64);
  void* b = QSL_malloc(200, 4096);
  const ThreadRecord* record = own_record();
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->stat_blocks, 2u);
  EXPECT_EQ(record->stat_bytes, 180u + 4312u);
  QSL_free(a);
  EXPECT_EQ(record->stat_blocks, 1u);
  EXPECT_EQ(record->stat_bytes, 4312u);
  QSL_free(b);
  EXPECT_EQ(record->stat_blocks, 0u);
  EXPECT_EQ(record->stat_bytes, 0u);
}

TEST_F(Statistics, FastBlocksAreNotCounted) {
  void* p = qsl_mm_allocate(100, 64);
  EXPECT_EQ(statistics().blocks, 0u);
  qsl_mm_deallocate(p);
  EXPECT_EQ(statistics().blocks, 0u);
}

TEST_F(Statistics, FreeByAThreadWithoutRecordGoesToTheTotals) {
  void* p = QSL_malloc(100, 64);
  on_thread([&] {
    QSL_free(p);
    EXPECT_EQ(calling_ticket(), nullptr) << "a free made a ticket";
  });
  EXPECT_EQ(totals.blocks, 0u - 1);
  EXPECT_EQ(totals.bytes, 0u - 180);
  EXPECT_EQ(statistics().blocks, 0u);
  EXPECT_EQ(statistics().bytes, 0u);
}

TEST_F(Statistics, EndedThreadsAreFoldedIntoTheTotals) {
  std::vector<void*> blocks;
  on_thread([&] {
    for (int i = 0; i < 3; ++i) blocks.push_back(QSL_malloc(100, 64));
  });
  EXPECT_EQ(totals.blocks, 3u);
  EXPECT_EQ(totals.bytes, 3 * 180u);
  for (void* p : blocks) QSL_free(p);
  EXPECT_EQ(statistics().blocks, 0u);
}

TEST_F(Statistics, SurviveFreeBuffers) {
  void* p = QSL_malloc(100, 64);
  QSL_Free_Buffers();
  EXPECT_EQ(totals.blocks, 1u);
  EXPECT_EQ(totals.bytes, 180u);
  QSL_free(p);  // the ticket is stale: the totals again
  EXPECT_EQ(totals.blocks, 0u);
  EXPECT_EQ(totals.bytes, 0u);
}

TEST(Services, StandInTheirOrder) {
  EXPECT_EQ(qsl_mm_services.malloc, &QSL_malloc);
  EXPECT_EQ(qsl_mm_services.unused, nullptr);
  EXPECT_EQ(qsl_mm_services.allocate, &qsl_mm_allocate);
  EXPECT_EQ(qsl_mm_services.free, &QSL_free);
  EXPECT_EQ(qsl_mm_services.deallocate, &qsl_mm_deallocate);
}

}  // namespace
}  // namespace memory_test
