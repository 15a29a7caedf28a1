// The fast layer: which slot serves a request, what is cached, what falls through.
#include <cstring>
#include <thread>
#include <vector>

#include "tests/memory/support.h"

namespace memory_test {
namespace {

using Fast = Memory;

constexpr std::size_t kLimit = 41943040;

TEST_F(Fast, ZeroBytesAreNull) {
  EXPECT_EQ(qsl_mm_allocate(0, 64), nullptr);
  void* p = qsl_mm_allocate(8, 64);
  EXPECT_EQ(qsl_mm_allocate(0, 64), nullptr);  // also on the short way
  qsl_mm_deallocate(p);
}

TEST_F(Fast, NullIsIgnored) {
  qsl_mm_deallocate(nullptr);
  qsl_mm_deallocate(qsl_mm_allocate(8, 64));
  qsl_mm_deallocate(nullptr);
}

TEST_F(Fast, SameSizeAgainIsTheSameBlockWithoutTheAllocator) {
  CountingBackEnd counting;
  void* first = qsl_mm_allocate(1000, 128);
  ASSERT_NE(first, nullptr);
  qsl_mm_deallocate(first);
  const int made = CountingBackEnd::made();
  for (int i = 0; i < 10; ++i) {
    void* again = qsl_mm_allocate(1000, 128);
    EXPECT_EQ(again, first);
    qsl_mm_deallocate(again);
  }
  EXPECT_EQ(CountingBackEnd::made(), made);
}

TEST_F(Fast, BlocksAreAlignedAndHaveNoOuterHeader) {
  for (int alignment : {64, 128, 4096, 3, -1, 65536}) {
    void* p = qsl_mm_allocate(100, alignment);
    const std::uint32_t boundary = effective_alignment(alignment);
    EXPECT_EQ(address(p) % boundary, 0u);
    const int slot = find_slot(*own_record(), p);
    ASSERT_GE(slot, 0);
    const ThreadRecord& record = *own_record();
    EXPECT_EQ(record.aligned[slot], p);
    EXPECT_EQ(record.requested[slot], 100u);
    EXPECT_EQ(record.in_use[slot], 1u);
    // The base rounded up, so within the block.
    EXPECT_LT(address(p) - address(record.base[slot]), boundary);
    std::memset(p, 1, 100);
    qsl_mm_deallocate(p);
    EXPECT_EQ(record.in_use[slot], 0u);
    EXPECT_EQ(record.aligned[slot], p);
    QSL_Free_Buffers();
  }
}

TEST_F(Fast, CapacityIsSizePlusAlignment) {
  void* p = qsl_mm_allocate(100, 256);
  EXPECT_EQ(own_record()->capacity[0], 356u);
  EXPECT_EQ(own_record()->count, 1u);
  qsl_mm_deallocate(p);
}

// Fills the slots of the calling thread with free blocks of these sizes.
std::vector<void*> fill(const std::vector<std::size_t>& sizes) {
  std::vector<void*> blocks;
  for (std::size_t size : sizes) blocks.push_back(qsl_mm_allocate(size, 64));
  for (void* p : blocks) qsl_mm_deallocate(p);
  return blocks;
}

TEST_F(Fast, ExactCapacityIsTakenBeforeALargerOneInFront) {
  const std::vector<void*> blocks = fill({3000, 2000, 1000});
  void* p = qsl_mm_allocate(1000, 64);
  EXPECT_EQ(p, blocks[2]);
  qsl_mm_deallocate(p);
}

TEST_F(Fast, SmallestLargerBlockIsTaken) {
  const std::vector<void*> blocks = fill({4000, 2000, 3000, 500});
  void* p = qsl_mm_allocate(1500, 64);
  EXPECT_EQ(p, blocks[1]);
  EXPECT_EQ(own_record()->requested[1], 1500u);
  EXPECT_EQ(own_record()->capacity[1], 2064u);  // that of the block
  EXPECT_EQ(own_record()->count, 4u);
  qsl_mm_deallocate(p);
}

TEST_F(Fast, LargerBlockInUseIsSkipped) {
  const std::vector<void*> blocks = fill({4000, 2000});
  void* a = qsl_mm_allocate(2000, 64);
  void* b = qsl_mm_allocate(1500, 64);
  EXPECT_EQ(a, blocks[1]);
  EXPECT_EQ(b, blocks[0]);
  qsl_mm_deallocate(a);
  qsl_mm_deallocate(b);
}

TEST_F(Fast, LargerBlockIsAlignedAnew) {
  fill({10000});
  void* p = qsl_mm_allocate(1000, 4096);
  EXPECT_EQ(address(p) % 4096, 0u);
  EXPECT_EQ(own_record()->count, 1u);
  const std::uint32_t base = address(own_record()->base[0]);
  EXPECT_LE(address(p) + 1000, base + own_record()->capacity[0]);
  qsl_mm_deallocate(p);
}

TEST_F(Fast, SmallerBlocksLeadToANewSlotWhileThereIsOne) {
  fill({100, 200, 300, 400});
  void* p = qsl_mm_allocate(5000, 64);
  EXPECT_EQ(own_record()->count, 5u);
  EXPECT_EQ(own_record()->aligned[4], p);
  qsl_mm_deallocate(p);
}

TEST_F(Fast, FirstSmallerFreeBlockIsReplacedWhenAllSlotsAreTaken) {
  CountingBackEnd counting;
  fill({300, 100, 200, 400, 500});
  void* const held = qsl_mm_allocate(300, 64);  // slot 0 is in use now
  const int live = CountingBackEnd::live();
  void* p = qsl_mm_allocate(5000, 64);
  EXPECT_EQ(CountingBackEnd::live(), live);  // one given back, one made
  EXPECT_EQ(own_record()->count, 5u);
  EXPECT_EQ(own_record()->aligned[1], p);
  EXPECT_EQ(own_record()->capacity[1], 5064u);
  EXPECT_EQ(own_record()->requested[1], 5000u);
  EXPECT_EQ(own_record()->capacity[2], 264u);
  qsl_mm_deallocate(p);
  qsl_mm_deallocate(held);
}

TEST_F(Fast, SixthBlockInUseComesFromThePlainLayer) {
  CountingBackEnd counting;
  std::vector<void*> blocks;
  for (int i = 0; i < 6; ++i) blocks.push_back(qsl_mm_allocate(1000, 64));
  EXPECT_EQ(own_record()->count, 5u);
  EXPECT_EQ(find_slot(*own_record(), blocks[5]), -1);
  EXPECT_EQ(outer_header(blocks[5]).total, 1080u);
  EXPECT_EQ(own_record()->stat_blocks, 1u);
  const int live = CountingBackEnd::live();
  qsl_mm_deallocate(blocks[5]);  // after both searches
  EXPECT_EQ(CountingBackEnd::live(), live - 1);
  EXPECT_EQ(own_record()->stat_blocks, 0u);
  for (int i = 0; i < 5; ++i) qsl_mm_deallocate(blocks[static_cast<std::size_t>(i)]);
  EXPECT_EQ(CountingBackEnd::live(), live - 1);
}

TEST_F(Fast, LargestCachedSize) {
  CountingBackEnd counting;
  void* p = qsl_mm_allocate(kLimit, 64);
  ASSERT_NE(p, nullptr);
  EXPECT_GE(find_slot(*own_record(), p), 0);
  qsl_mm_deallocate(p);
  const int made = CountingBackEnd::made();
  EXPECT_EQ(qsl_mm_allocate(kLimit, 64), p);
  EXPECT_EQ(CountingBackEnd::made(), made);
  qsl_mm_deallocate(p);
}

TEST_F(Fast, OneByteMoreGoesToThePlainLayer) {
  CountingBackEnd counting;
  void* p = qsl_mm_allocate(kLimit + 1, 64);
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(outer_header(p).total, kLimit + 1 + 80);
  EXPECT_EQ(own_record()->count, 0u);
  const int live = CountingBackEnd::live();
  qsl_mm_deallocate(p);
  EXPECT_EQ(CountingBackEnd::live(), live - 1);
}

TEST_F(Fast, HugeSizesAreNull) {
  EXPECT_EQ(qsl_mm_allocate(0xffffffffu, 64), nullptr);
  EXPECT_EQ(qsl_mm_allocate(0xffffff00u, 64), nullptr);
}

TEST_F(Fast, LargestAlignmentDoesNotWrapAround) {
  CountingBackEnd counting;
  CountingBackEnd::fail(2);  // the table and the record are made, the block is not
  EXPECT_EQ(qsl_mm_allocate(kLimit, 1 << 30), nullptr);
  EXPECT_EQ(CountingBackEnd::refused(), 1);
  EXPECT_EQ(own_record()->count, 0u);
}

TEST_F(Fast, FailingBackEndLeavesANewSlotEmpty) {
  CountingBackEnd counting;
  qsl_mm_deallocate(qsl_mm_allocate(100, 64));
  CountingBackEnd::fail(0);
  EXPECT_EQ(qsl_mm_allocate(200, 64), nullptr);
  EXPECT_EQ(own_record()->count, 1u);
  void* p = qsl_mm_allocate(200, 64);
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(own_record()->count, 2u);
  EXPECT_EQ(own_record()->aligned[1], p);
  qsl_mm_deallocate(p);
}

TEST_F(Fast, FailingBackEndLeavesAReplacedSlotEmptyAndReusable) {
  CountingBackEnd counting;
  const std::vector<void*> blocks = fill({100, 200, 300, 400, 500});
  CountingBackEnd::fail(0);
  const int live = CountingBackEnd::live();
  EXPECT_EQ(qsl_mm_allocate(5000, 64), nullptr) << "a stale pointer was handed out";
  EXPECT_EQ(CountingBackEnd::live(), live - 1);
  const ThreadRecord& record = *own_record();
  EXPECT_EQ(record.count, 5u);
  EXPECT_EQ(record.base[0], nullptr);
  EXPECT_EQ(record.aligned[0], nullptr);
  EXPECT_EQ(record.in_use[0], 0u);
  EXPECT_EQ(find_slot(record, blocks[0]), -1);
  // The lock is free, the others still serve, and the empty slot is filled next.
  EXPECT_EQ(qsl_mm_allocate(500, 64), blocks[4]);
  void* p = qsl_mm_allocate(5000, 64);
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(record.aligned[0], p);
  qsl_mm_deallocate(p);
  qsl_mm_deallocate(blocks[4]);
  QSL_Free_Buffers();
  EXPECT_EQ(CountingBackEnd::live(), 0);
}

TEST_F(Fast, FreeBuffersPassesOverAnEmptySlot) {
  CountingBackEnd counting;
  fill({100, 200, 300, 400, 500});
  CountingBackEnd::fail(0);
  EXPECT_EQ(qsl_mm_allocate(5000, 64), nullptr);
  QSL_Free_Buffers();
  EXPECT_EQ(CountingBackEnd::live(), 0);
}

// Every back-end call of a sequence fails once: the results are blocks or null, and nothing is
// lost.
TEST_F(Fast, InjectedFailuresOneByOne) {
  for (int fail_at = 0; fail_at < 40; ++fail_at) {
    CountingBackEnd counting;
    CountingBackEnd::fail(fail_at);
    std::vector<void*> blocks;
    int nulls = 0;
    for (std::size_t round = 0; round < 3; ++round) {
      for (std::size_t size : {100u, 5000u, 200u, 70000u, 300u, 400u, 9000u}) {
        void* p = qsl_mm_allocate(size + 1000 * round, 64);
        if (p == nullptr) {
          ++nulls;
          continue;
        }
        std::memset(p, 0x77, size);
        blocks.push_back(p);
      }
      for (void* p : blocks) qsl_mm_deallocate(p);
      blocks.clear();
    }
    EXPECT_LE(nulls, 1);
    QSL_Free_Buffers();
    EXPECT_EQ(CountingBackEnd::live(), 0) << fail_at;
    if (CountingBackEnd::refused() == 0) return;
  }
  FAIL() << "the sequence never ran without a failure";
}

TEST_F(Fast, WithoutBookkeepingThePlainLayerServes) {
  for (int fail_at : {0, 1}) {  // the table, the record
    CountingBackEnd counting;
    // The plain layer's count tries to make the same bookkeeping again; let that fail too.
    CountingBackEnd::fail(fail_at);
    void* p = qsl_mm_allocate(100, 64);
    CountingBackEnd::fail_none();
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(outer_header(p).total, 180u);
    qsl_mm_deallocate(p);
    QSL_Free_Buffers();
    EXPECT_EQ(CountingBackEnd::live(), 0);
  }
}

TEST_F(Fast, EverythingFailing) {
  CountingBackEnd counting;
  CountingBackEnd::fail_all();
  EXPECT_EQ(qsl_mm_allocate(100, 64), nullptr);
  EXPECT_EQ(qsl_mm_allocate(100, 64), nullptr);
  CountingBackEnd::fail_none();
  qsl_mm_deallocate(qsl_mm_allocate(100, 64));
}

TEST_F(Fast, DisabledBehavesAsThePlainLayer) {
  set_variable("QSL_DISABLE_FAST_MM", "1");
  EXPECT_EQ(qsl_mm_fast_disabled(), 1);
  CountingBackEnd counting;
  void* p = qsl_mm_allocate(100, 3);
  EXPECT_EQ(outer_header(p).total, 180u);
  EXPECT_EQ(own_record()->count, 0u);
  const int live = CountingBackEnd::live();
  qsl_mm_deallocate(p);
  EXPECT_EQ(CountingBackEnd::live(), live - 1);
  qsl_mm_deallocate(nullptr);
  EXPECT_EQ(qsl_mm_allocate(0, 64), nullptr);
}

TEST_F(Fast, FirstCallOfAllMayBeADeallocate) {
  on_thread([] { qsl_mm_deallocate(nullptr); });
  void* p = QSL_malloc(100, 64);
  setup_state = Setup::none;
  qsl_mm_deallocate(p);
  EXPECT_EQ(setup_state, Setup::fast_layer_on);
}

TEST_F(Fast, BlockFreedInAnotherThreadIsReusableByItsOwner) {
  CountingBackEnd counting;
  void* p = qsl_mm_allocate(1000, 64);
  on_thread([&] {
    qsl_mm_deallocate(p);
    EXPECT_EQ(calling_ticket(), nullptr) << "a deallocate made a ticket";
  });
  const int made = CountingBackEnd::made();
  EXPECT_EQ(qsl_mm_allocate(1000, 64), p);
  EXPECT_EQ(CountingBackEnd::made(), made);
  qsl_mm_deallocate(p);
}

TEST_F(Fast, SecondDeallocateOfACachedBlockIsHarmless) {
  void* p = qsl_mm_allocate(1000, 64);
  qsl_mm_deallocate(p);
  qsl_mm_deallocate(p);
  EXPECT_EQ(qsl_mm_allocate(1000, 64), p);
  qsl_mm_deallocate(p);
}

TEST_F(Fast, TakesPlainBlocksOfAnyThread) {
  CountingBackEnd counting;
  void* mine = QSL_malloc(100, 64);
  void* theirs = nullptr;
  on_thread([&] { theirs = QSL_malloc(100, 64); });
  qsl_mm_deallocate(mine);
  qsl_mm_deallocate(theirs);
  qsl_mm_deallocate(qsl_mm_calloc(5, 5, 64));
  QSL_Free_Buffers();
  EXPECT_EQ(CountingBackEnd::live(), 0);
  EXPECT_EQ(statistics().blocks, 0u);
}

}  // namespace
}  // namespace memory_test
