// Many threads that allocate in one and free in another, end with blocks in hand, and empty all
// caches meanwhile. QSL_STRESS_SECONDS says for how long, QSL_STRESS_THREADS how many.
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

#include "tests/memory/support.h"

namespace memory_test {
namespace {

using Stress = Memory;

struct Block {
  void* start = nullptr;
  std::size_t size = 0;
  unsigned char mark = 0;
  bool plain = false;  // of QSL_malloc
};

// On an emulated processor, which is slow and alone, a shorter run is what there is time for.
double setting(const char* name, double otherwise, double emulated) {
  if (const char* text = std::getenv(name)) return std::atof(text);
  return std::getenv("QSL_TEST_EMULATED") != nullptr ? emulated : otherwise;
}

class Exchange {
 public:
  // Leaves a block behind and takes what lay there.
  Block swap(std::size_t place, Block block) {
    const std::lock_guard<std::mutex> guard(locks_[place]);
    std::swap(blocks_[place], block);
    return block;
  }
  static constexpr std::size_t kPlaces = 61;

 private:
  std::mutex locks_[kPlaces];
  Block blocks_[kPlaces];
};

std::atomic<bool> stop;
std::atomic<int> faults;
std::atomic<long> operations;
Exchange exchange;

Block make(std::mt19937& random) {
  // A few sizes, so that there are hits, and some that fit no cached block.
  static constexpr std::size_t kSizes[] = {64, 100, 1000, 1000, 4096, 20000, 100000};
  static constexpr int kAlignments[] = {64, 64, 128, 4096, 3};
  Block block;
  block.size = kSizes[random() % 7] + (random() % 8 == 0 ? random() % 5000 : 0);
  block.mark = static_cast<unsigned char>(random());
  block.plain = random() % 8 == 0;
  const int alignment = kAlignments[random() % 5];
  block.start =
      block.plain ? QSL_malloc(block.size, alignment) : qsl_mm_allocate(block.size, alignment);
  if (block.start == nullptr || address(block.start) % effective_alignment(alignment) != 0) {
    ++faults;
    return {};
  }
  // The whole of a small block, both ends of a large one.
  const std::size_t head = block.size < 256 ? block.size : 256;
  std::memset(block.start, block.mark, head);
  std::memset(static_cast<char*>(block.start) + block.size - head, block.mark, head);
  return block;
}

void drop(const Block& block) {
  if (block.start == nullptr) return;
  const unsigned char* bytes = static_cast<unsigned char*>(block.start);
  const std::size_t head = block.size < 256 ? block.size : 256;
  for (std::size_t i = 0; i < head; ++i) {
    if (bytes[i] != block.mark || bytes[block.size - 1 - i] != block.mark) {
      ++faults;
      break;
    }
  }
  if (block.plain) {
    QSL_free(block.start);
  } else {
    qsl_mm_deallocate(block.start);
  }
}

// One thread's life. What it still holds at the end lies on the exchange, for others to free.
void live(unsigned seed) {
  std::mt19937 random(seed);
  const int rounds = 200 + static_cast<int>(random() % 2000);
  std::vector<Block> held;
  for (int i = 0; i < rounds && !stop; ++i) {
    held.push_back(make(random));
    if (random() % 2 == 0) {
      const std::size_t victim = random() % held.size();
      held[victim] = exchange.swap(random() % Exchange::kPlaces, held[victim]);
    }
    while (held.size() > random() % 8) {
      drop(held.back());
      held.pop_back();
    }
    if (random() % 512 == 0) QSL_Free_Buffers();
    operations.fetch_add(1, std::memory_order_relaxed);
  }
  for (const Block& block : held) drop(exchange.swap(random() % Exchange::kPlaces, block));
  end_thread();
}

TEST_F(Stress, NothingIsLostBrokenOrLeft) {
  CountingBackEnd counting;
  stop = false;
  const unsigned count = static_cast<unsigned>(setting("QSL_STRESS_THREADS", 8, 3));
  std::vector<std::thread> threads;
  for (unsigned t = 0; t < count; ++t) {
    threads.emplace_back([t] {
      for (unsigned life = 0; !stop; ++life) {
        // Each life is a thread, so that threads end all the time.
        std::thread(live, t * 1000003u + life).join();
      }
      end_thread();
    });
  }
  const auto end = std::chrono::steady_clock::now() +
                   std::chrono::duration<double>(setting("QSL_STRESS_SECONDS", 5, 1));
  while (std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    QSL_Free_Buffers();
  }
  stop = true;
  for (std::thread& thread : threads) thread.join();
  for (std::size_t place = 0; place < Exchange::kPlaces; ++place) drop(exchange.swap(place, {}));

  EXPECT_EQ(faults, 0);
  EXPECT_GT(operations, 0);
  EXPECT_EQ(statistics().blocks, 0u);
  EXPECT_EQ(statistics().bytes, 0u);
  QSL_Free_Buffers();
  EXPECT_EQ(registry.next_index, 0u);
  EXPECT_EQ(CountingBackEnd::live(), 0);
  EXPECT_EQ(shared_word, 0);
  RecordProperty("operations", std::to_string(operations));
}

// More threads at once than there are own words: the later ones share a lock.
TEST_F(Stress, ThreadsBeyondTheOwnWords) {
  CountingBackEnd counting;
  {
    // As if 1022 threads were alive.
    qsl_mm_deallocate(qsl_mm_allocate(64, 64));
    Guard guard(&registry_lock);
    registry.next_index = 1022;
  }
  stop = false;
  std::vector<std::thread> threads;
  const unsigned count = static_cast<unsigned>(setting("QSL_STRESS_THREADS", 8, 3));
  const int rounds = static_cast<int>(400 * setting("QSL_STRESS_SECONDS", 5, 1));
  for (unsigned t = 0; t < count; ++t) {
    threads.emplace_back([t, rounds] {
      std::mt19937 random(t);
      for (int i = 0; i < rounds; ++i) {
        const Block block = make(random);
        drop(exchange.swap(random() % Exchange::kPlaces, block));
      }
      end_thread();
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (std::size_t place = 0; place < Exchange::kPlaces; ++place) drop(exchange.swap(place, {}));
  EXPECT_EQ(faults, 0);
  EXPECT_EQ(shared_word, 0);
  QSL_Free_Buffers();
  EXPECT_EQ(CountingBackEnd::live(), 0);
}

}  // namespace
}  // namespace memory_test
