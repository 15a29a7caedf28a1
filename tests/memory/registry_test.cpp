// Tickets, generations, tables, orphans and QSL_Free_Buffers.
#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

#include "tests/memory/support.h"

namespace memory_test {
namespace {

using Registry = Memory;
using FreeBuffers = Memory;
using ThreadEnd = Memory;

TEST_F(Registry, TablesByIndex) {
  EXPECT_EQ(table_of(1), 0u);
  EXPECT_EQ(table_of(1024), 0u);
  EXPECT_EQ(table_of(1025), 1u);
  EXPECT_EQ(table_of(2048), 1u);
  EXPECT_EQ(table_of(2049), 2u);
  for (std::uint32_t k = 1; k <= 21; ++k) {
    const std::uint32_t first = 1024 * (1u << (k - 1)) + 1;
    EXPECT_EQ(table_of(first), k);
    EXPECT_EQ(table_of(first + first - 2 - 1), k);
    EXPECT_EQ(indices_before(k), first - 1);
    EXPECT_EQ(entries_in(k), 1u << (k + 9));
  }
  EXPECT_EQ(table_of(0x80000000u), 21u);
  EXPECT_EQ(table_of(0x80000001u), 22u);
}

TEST_F(Registry, FirstUseMakesTicketTableAndRecord) {
  on_thread([] {
    EXPECT_EQ(calling_ticket(), nullptr);
    void* p = qsl_mm_allocate(100, 64);
    const Ticket* ticket = calling_ticket();
    ASSERT_NE(ticket, nullptr);
    EXPECT_EQ(ticket->index, 1u);
    EXPECT_EQ(ticket->generation, registry.generation);
    EXPECT_EQ(registry.next_index, 1u);
    EXPECT_EQ(entry_at(1)->owner, 1u);
    EXPECT_EQ(address(registry.tables[0]) % 4096, 0u);
    // A block of 0x11000 bytes.
    EXPECT_EQ(inner_header(registry.blocks[0]).bytes, 0x11000u + 16);
    qsl_mm_deallocate(p);
  });
}

TEST_F(Registry, FreedPointersAreForgotten) {
  std::vector<void*> held;
  for (int i = 0; i < 5; ++i) held.push_back(qsl_mm_allocate(100, 64));
  qsl_mm_deallocate(held[2]);
  void* larger = qsl_mm_allocate(9000, 64);
  EXPECT_EQ(find_slot(*own_record(), larger), 2);
  if (larger != held[2]) {
    EXPECT_EQ(find_slot(*own_record(), held[2]), -1);
  }
  qsl_mm_deallocate(larger);
  for (int i : {0, 1, 3, 4}) qsl_mm_deallocate(held[static_cast<std::size_t>(i)]);
}

TEST_F(Registry, EndedThreadsLeaveTheirEntryToTheNext) {
  CountingBackEnd counting;
  qsl_mm_deallocate(qsl_mm_allocate(100, 64));
  const int live = CountingBackEnd::live();
  for (int i = 0; i < 300; ++i) {
    on_thread([] { qsl_mm_deallocate(qsl_mm_allocate(100, 64)); });
  }
  EXPECT_EQ(registry.next_index, 2u);
  EXPECT_EQ(CountingBackEnd::live(), live);
}

// Lets new threads begin at this index.
void advance(std::uint32_t index) {
  Guard guard(&registry_lock);
  registry.next_index = index - 1;
  registry.free_index = 0;
}

// Tables below that of the index, so that walks find them.
void make_tables(std::uint32_t index) {
  for (std::uint32_t table = 0; indices_before(table) < index - 1; ++table) {
    if (registry.tables[table] != nullptr) continue;
    const std::size_t size = entries_in(table) * sizeof(Entry);
    registry.blocks[table] = back_end.malloc(size + 4096);
    registry.tables[table] = static_cast<Entry*>(align_up(registry.blocks[table], 4096));
    std::memset(registry.tables[table], 0, size);
  }
}

TEST_F(Registry, IndicesBeyond1024HaveTablesOfTheirOwn) {
  CountingBackEnd counting;
  const int live = CountingBackEnd::live();
  for (std::uint32_t index : {1023u, 1024u, 1025u, 1026u, 2048u, 2049u, 4096u, 4097u, 9000u}) {
    QSL_Free_Buffers();
    ASSERT_EQ(registry.next_index, 0u);
    make_tables(index);
    advance(index);
    void* in_hand = nullptr;
    on_thread([&] {
      void* p = qsl_mm_allocate(1000, 64);
      ASSERT_NE(p, nullptr);
      EXPECT_EQ(calling_ticket()->index, index);
      const std::uint32_t table = table_of(index);
      ASSERT_NE(registry.tables[table], nullptr);
      EXPECT_EQ(address(registry.tables[table]) % 4096, 0u);
      EXPECT_EQ(entry_at(index) - registry.tables[table],
                static_cast<std::ptrdiff_t>(index - 1 - indices_before(table)));
      EXPECT_EQ(entry_at(index)->owner, index);
      qsl_mm_deallocate(p);
      EXPECT_EQ(qsl_mm_allocate(1000, 64), p);
      in_hand = p;
    });
    // The thread has ended with a block in use; a thread without ticket releases it.
    ASSERT_NE(entry_at(index)->record, nullptr);
    EXPECT_EQ(entry_at(index)->record->orphaned, 1u);
    on_thread([&] { qsl_mm_deallocate(in_hand); });
    EXPECT_EQ(entry_at(index)->record, nullptr);
    EXPECT_EQ(registry.free_index, index);
    EXPECT_EQ(__atomic_load_n(&shared_word, __ATOMIC_RELAXED), 0);
  }
  QSL_Free_Buffers();
  EXPECT_EQ(CountingBackEnd::live(), live);
  for (Entry* table : registry.tables) EXPECT_EQ(table, nullptr);
}

// The short way of a hit holds the thread's own word, or none where threads share one: then it has
// to wait for a walker of the registry like everybody.
TEST_F(Registry, AHitWaitsForAWalkerWhateverTheIndex) {
  for (const std::uint32_t index : {1u, 1024u, 1025u, 3000u}) {
    QSL_Free_Buffers();
    make_tables(index);
    advance(index);
    std::atomic<int> stage{0};
    std::thread user([&] {
      qsl_mm_deallocate(qsl_mm_allocate(1000, 64));
      EXPECT_EQ(calling_ticket()->index, index);
      stage = 1;
      while (stage == 1) std::this_thread::yield();
      void* hit = qsl_mm_allocate(1000, 64);
      stage = 3;
      qsl_mm_deallocate(hit);
      end_thread();
    });
    while (stage == 0) std::this_thread::yield();
    walker_lock();
    stage = 2;
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_EQ(stage, 2) << index;
    walker_unlock();
    user.join();
  }
}

TEST_F(Registry, NoIndexLeftFallsThroughToThePlainLayer) {
  CountingBackEnd counting;
  qsl_mm_deallocate(qsl_mm_allocate(100, 64));
  const std::uint32_t first = registry.next_index;
  for (std::uint32_t index : {0x04000001u, 0x80000001u, 0xffffffffu}) {
    advance(index);
    on_thread([] {
      void* p = qsl_mm_allocate(100, 64);
      EXPECT_EQ(outer_header(p).total, 180u);
      EXPECT_EQ(calling_index(), 0u);
      // The search below must not walk the pretended indices.
      advance(2);
      qsl_mm_deallocate(p);
    });
  }
  advance(first + 1);
}

TEST_F(FreeBuffers, EmptiesAllCaches) {
  CountingBackEnd counting;
  std::vector<void*> held;
  for (std::size_t i = 1; i <= 5; ++i) held.push_back(qsl_mm_allocate(i * 1000, 64));
  for (void* p : held) qsl_mm_deallocate(p);
  const std::uint32_t generation = registry.generation;
  QSL_Free_Buffers();
  EXPECT_EQ(CountingBackEnd::live(), 0);
  EXPECT_EQ(registry.next_index, 0u);
  EXPECT_EQ(registry.generation, generation + 1);
  for (Entry* table : registry.tables) EXPECT_EQ(table, nullptr);
}

TEST_F(FreeBuffers, OnNothingAtAll) {
  const std::uint32_t generation = registry.generation;
  QSL_Free_Buffers();
  QSL_Free_Buffers();
  EXPECT_EQ(registry.generation, generation + 2);
  EXPECT_EQ(registry.next_index, 0u);
}

TEST_F(FreeBuffers, TicketsAreStaleAndThreadsRegisterAnew) {
  qsl_mm_deallocate(qsl_mm_allocate(100, 64));
  QSL_Free_Buffers();
  EXPECT_EQ(own_record(), nullptr);
  EXPECT_NE(calling_ticket()->generation, registry.generation);
  qsl_mm_deallocate(qsl_mm_allocate(100, 64));
  EXPECT_EQ(calling_ticket()->generation, registry.generation);
  EXPECT_EQ(calling_ticket()->index, 1u);
  EXPECT_NE(own_record(), nullptr);
}

TEST_F(FreeBuffers, BlockInUseStaysValidAndGoesWithItsRelease) {
  CountingBackEnd counting;
  char* p = static_cast<char*>(qsl_mm_allocate(1000, 64));
  void* cached = qsl_mm_allocate(2000, 64);
  qsl_mm_deallocate(cached);
  std::memset(p, 9, 1000);
  QSL_Free_Buffers();
  // The block, its record, the first table.
  EXPECT_EQ(CountingBackEnd::live(), 3);
  EXPECT_EQ(registry.next_index, 1u);
  EXPECT_EQ(entry_at(1)->owner, 0u);
  EXPECT_EQ(entry_at(1)->record->orphaned, 1u);
  for (int i = 0; i < 1000; ++i) ASSERT_EQ(p[i], 9);
  qsl_mm_deallocate(p);
  EXPECT_EQ(CountingBackEnd::live(), 1);
  EXPECT_EQ(entry_at(1)->record, nullptr);
  QSL_Free_Buffers();
  EXPECT_EQ(CountingBackEnd::live(), 0);
}

TEST_F(FreeBuffers, BlockInUseOutlivesManyGenerations) {
  CountingBackEnd counting;
  char* p = static_cast<char*>(qsl_mm_allocate(1000, 64));
  std::memset(p, 9, 1000);
  for (int i = 0; i < 20; ++i) {
    QSL_Free_Buffers();
    EXPECT_EQ(registry.next_index, 1u);
    void* other = qsl_mm_allocate(1000, 64);
    EXPECT_NE(other, p);
    EXPECT_EQ(calling_ticket()->index, 2u);
    qsl_mm_deallocate(other);
  }
  for (int i = 0; i < 1000; ++i) ASSERT_EQ(p[i], 9);
  qsl_mm_deallocate(p);
  QSL_Free_Buffers();
  EXPECT_EQ(CountingBackEnd::live(), 0);
}

TEST_F(FreeBuffers, OwnerWithAStaleTicketReleasesItsBlockThroughTheSearch) {
  CountingBackEnd counting;
  void* p = qsl_mm_allocate(1000, 64);
  QSL_Free_Buffers();
  const Ticket before = *calling_ticket();
  qsl_mm_deallocate(p);
  EXPECT_EQ(calling_ticket()->index, before.index);
  EXPECT_EQ(calling_ticket()->generation, before.generation) << "a deallocate registered anew";
  QSL_Free_Buffers();
  EXPECT_EQ(CountingBackEnd::live(), 0);
}

TEST_F(FreeBuffers, SurvivorsMoveToTheFront) {
  CountingBackEnd counting;
  constexpr int kThreads = 6;
  void* blocks[kThreads] = {};
  for (int t = 0; t < kThreads; ++t) {
    on_thread([&] {
      void* p = qsl_mm_allocate(1000, 64);
      std::memset(p, t, 1000);
      blocks[t] = p;
    });
  }
  EXPECT_EQ(registry.next_index, 6u);
  for (int t : {0, 2, 3}) qsl_mm_deallocate(blocks[t]);  // the orphans 2, 5 and 6 remain
  QSL_Free_Buffers();
  EXPECT_EQ(registry.next_index, 3u);
  EXPECT_EQ(registry.free_index, 0u);
  const int expected[] = {1, 4, 5};
  for (std::uint32_t i = 0; i < 3; ++i) {
    EXPECT_EQ(find_slot(*entry_at(i + 1)->record, blocks[expected[i]]), 0);
    EXPECT_EQ(*static_cast<char*>(blocks[expected[i]]), expected[i]);
  }
  for (int t : expected) qsl_mm_deallocate(blocks[t]);
  QSL_Free_Buffers();
  EXPECT_EQ(CountingBackEnd::live(), 0);
}

TEST_F(FreeBuffers, ManySurvivorsKeepTheTablesThatTheyNeed) {
  CountingBackEnd counting;
  constexpr std::uint32_t kBlocks = 1100;
  std::vector<void*> blocks(kBlocks);
  for (std::uint32_t i = 0; i < kBlocks; ++i) {
    // Each generation turns the calling thread's record into an orphan.
    blocks[i] = qsl_mm_allocate(64, 64);
    if (i == kBlocks - 1) break;
    QSL_Free_Buffers();
    ASSERT_EQ(registry.next_index, i + 1);
  }
  EXPECT_EQ(calling_ticket()->index, kBlocks);
  QSL_Free_Buffers();
  EXPECT_EQ(registry.next_index, kBlocks);
  EXPECT_NE(registry.tables[1], nullptr);
  for (std::uint32_t i = 0; i < kBlocks; i += 2) qsl_mm_deallocate(blocks[i]);
  QSL_Free_Buffers();
  EXPECT_EQ(registry.next_index, kBlocks / 2);
  EXPECT_EQ(registry.tables[1], nullptr);
  EXPECT_NE(registry.tables[0], nullptr);
  for (std::uint32_t i = 1; i < kBlocks; i += 2) qsl_mm_deallocate(blocks[i]);
  QSL_Free_Buffers();
  EXPECT_EQ(CountingBackEnd::live(), 0);
}

TEST_F(FreeBuffers, OrphanOfALaterGenerationIsLeftToItsWalker) {
  CountingBackEnd counting;
  void* p = qsl_mm_allocate(1000, 64);
  const std::uint32_t generation = registry.generation;
  QSL_Free_Buffers();
  clean_orphan(1, generation);  // what a release before the walk would still do
  EXPECT_NE(entry_at(1)->record, nullptr);
  qsl_mm_deallocate(p);
  clean_orphan(1, registry.generation);  // twice is once
}

TEST_F(FreeBuffers, RecordWithAnOwnerIsNoOrphan) {
  void* p = qsl_mm_allocate(1000, 64);
  qsl_mm_deallocate(p);
  clean_orphan(calling_index(), registry.generation);
  EXPECT_NE(own_record(), nullptr);
  EXPECT_EQ(qsl_mm_allocate(1000, 64), p);
  qsl_mm_deallocate(p);
}

TEST_F(FreeBuffers, FoldedCountsOfSurvivorsGoOnlyOnce) {
  void* plain = QSL_malloc(100, 64);
  void* fast = qsl_mm_allocate(100, 64);
  QSL_Free_Buffers();
  QSL_Free_Buffers();
  EXPECT_EQ(statistics().blocks, 1u);
  qsl_mm_deallocate(fast);
  EXPECT_EQ(statistics().blocks, 1u);
  QSL_free(plain);
  EXPECT_EQ(statistics().blocks, 0u);
}

TEST_F(ThreadEnd, WithNothingInUseReleasesEverything) {
  CountingBackEnd counting;
  on_thread([] {
    std::vector<void*> held;
    for (std::size_t i = 1; i <= 5; ++i) held.push_back(qsl_mm_allocate(i * 1000, 64));
    for (void* p : held) qsl_mm_deallocate(p);
  });
  EXPECT_EQ(CountingBackEnd::live(), 1);  // the table
  EXPECT_EQ(entry_at(1)->record, nullptr);
  EXPECT_EQ(entry_at(1)->owner, 0u);
}

TEST_F(ThreadEnd, WithBlocksInUseLeavesAnOrphan) {
  CountingBackEnd counting;
  void* first = nullptr;
  void* second = nullptr;
  on_thread([&] {
    first = qsl_mm_allocate(1000, 64);
    second = qsl_mm_allocate(2000, 64);
    qsl_mm_deallocate(qsl_mm_allocate(3000, 64));
  });
  EXPECT_EQ(CountingBackEnd::live(), 4);  // table, record, two blocks
  ASSERT_NE(entry_at(1)->record, nullptr);
  EXPECT_EQ(entry_at(1)->record->orphaned, 1u);
  EXPECT_EQ(entry_at(1)->owner, 0u);
  qsl_mm_deallocate(first);
  EXPECT_EQ(CountingBackEnd::live(), 3);
  EXPECT_NE(entry_at(1)->record, nullptr);
  qsl_mm_deallocate(second);
  EXPECT_EQ(CountingBackEnd::live(), 1);
  EXPECT_EQ(entry_at(1)->record, nullptr);
}

TEST_F(ThreadEnd, OrphanIsFoldedIntoTheTotals) {
  void* fast = nullptr;
  void* plain = nullptr;
  on_thread([&] {
    fast = qsl_mm_allocate(1000, 64);
    plain = QSL_malloc(100, 64);
  });
  EXPECT_EQ(totals.blocks, 0u);
  qsl_mm_deallocate(fast);
  EXPECT_EQ(totals.blocks, 1u);
  EXPECT_EQ(totals.bytes, 180u);
  QSL_free(plain);
}

TEST_F(ThreadEnd, AfterFreeBuffersTouchesNobodyElse) {
  CountingBackEnd counting;
  on_thread([] {
    qsl_mm_deallocate(qsl_mm_allocate(1000, 64));
    QSL_Free_Buffers();
    // Another thread gets the index that this one's stale ticket names.
    void* theirs = nullptr;
    on_thread([&] { theirs = qsl_mm_allocate(1000, 64); });
    EXPECT_EQ(registry.next_index, 1u);
    qsl_mm_thread_exit();
    EXPECT_EQ(calling_ticket(), nullptr);
    ASSERT_NE(entry_at(1)->record, nullptr);
    qsl_mm_deallocate(theirs);
  });
  QSL_Free_Buffers();
  EXPECT_EQ(CountingBackEnd::live(), 0);
}

TEST_F(ThreadEnd, OfAThreadThatNeverUsedTheLibrary) {
  on_thread([] { qsl_mm_thread_exit(); });
}

TEST_F(ThreadEnd, RegistersAnewAfterwards) {
  CountingBackEnd counting;
  on_thread([] {
    qsl_mm_deallocate(qsl_mm_allocate(1000, 64));
    qsl_mm_thread_exit();
    EXPECT_EQ(calling_ticket(), nullptr);
    qsl_mm_deallocate(qsl_mm_allocate(1000, 64));
    EXPECT_NE(calling_ticket(), nullptr);
  });
  QSL_Free_Buffers();
  EXPECT_EQ(CountingBackEnd::live(), 0);
}

TEST(Locks, OwnWordsLieOnLinesOfTheirOwn) {
  EXPECT_EQ(sizeof(SpinWord), 64u);
  EXPECT_EQ(address(&entry_words[0]) % 64, 0u);
  EXPECT_EQ(address(&entry_words[1023]) - address(&entry_words[0]), 1023u * 64);
}

TEST(Locks, IndicesFrom1To1024HaveAWordAndTheOthersShare) {
  for (std::uint32_t index : {1u, 2u, 1024u}) {
    lock_entry(index);
    EXPECT_EQ(entry_words[index - 1].word, 1);
    EXPECT_EQ(shared_word, 0);
    unlock_entry(index);
    EXPECT_EQ(entry_words[index - 1].word, 0);
  }
  lock_entry(0);
  lock_entry(1025);
  lock_entry(0xffffffffu);
  EXPECT_EQ(shared_word, 6);
  unlock_entry(0);
  unlock_entry(1025);
  unlock_entry(0xffffffffu);
  EXPECT_EQ(shared_word, 0);
}

TEST(Locks, WalkerHoldsAllWords) {
  walker_lock();
  EXPECT_EQ(shared_word, 1);
  for (const SpinWord& own : entry_words) EXPECT_EQ(own.word, 1);
  walker_unlock();
  EXPECT_EQ(shared_word, 0);
  for (const SpinWord& own : entry_words) EXPECT_EQ(own.word, 0);
}

TEST(Locks, BoundedWalkerGivesUpAndLetsGo) {
  for (std::uint32_t index : {0u, 1u, 500u, 1024u, 2000u}) {
    lock_entry(index);
    std::thread([] { EXPECT_FALSE(walker_try_lock()); }).join();
    unlock_entry(index);
    EXPECT_EQ(shared_word, 0);
    for (const SpinWord& own : entry_words) ASSERT_EQ(own.word, 0);
  }
  ASSERT_TRUE(walker_try_lock());
  walker_unlock();
}

TEST(Locks, BoundedSpinLock) {
  volatile int word = 0;
  ASSERT_TRUE(try_acquire(&word));
  EXPECT_FALSE(obtainable(&word));
  release(&word);
  EXPECT_TRUE(obtainable(&word));
  EXPECT_EQ(word, 0);
}

}  // namespace
}  // namespace memory_test
