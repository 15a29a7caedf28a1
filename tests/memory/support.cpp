#include "tests/memory/support.h"

#include <atomic>
#include <cstdlib>
#include <limits>

#ifdef _WIN32
#include <windows.h>
#else
#include <unistd.h>
#endif

#include "runtime/lifecycle.h"

namespace memory_test {

void set_variable(const char* name, const char* value) {
#ifdef _WIN32
  SetEnvironmentVariableA(name, value);
#else
  if (value != nullptr) {
    setenv(name, value, 1);
  } else {
    unsetenv(name);
  }
#endif
}

std::string program_folder() {
  char path[4096] = {};
#ifdef _WIN32
  GetModuleFileNameA(nullptr, path, sizeof path - 1);
#else
  if (readlink("/proc/self/exe", path, sizeof path - 1) < 0) return ".";
#endif
  const std::string text = path;
  return text.substr(0, text.find_last_of("/\\"));
}

void end_thread() {
#ifdef _WIN32
  qsl_thread_detach();
#endif
}

void on_thread(const std::function<void()>& function) {
  std::thread([&] {
    function();
    end_thread();
  }).join();
}

namespace {

std::atomic<int> made_count, refused_count, live_count;
std::atomic<int> good_calls, bad_calls;
std::atomic<std::size_t> last_asked;
constexpr int kAlways = std::numeric_limits<int>::max();

bool refuse() {
  if (good_calls == kAlways) return false;
  if (good_calls > 0) {
    --good_calls;
    return false;
  }
  if (bad_calls == kAlways) {
    ++refused_count;
    return true;
  }
  --bad_calls;
  ++refused_count;
  if (bad_calls == 0) good_calls = kAlways;
  return true;
}

void* counting_malloc(std::size_t size) {
  last_asked = size;
  if (refuse()) return nullptr;
  void* block = internal_malloc(size);
  if (block != nullptr) {
    ++made_count;
    ++live_count;
  }
  return block;
}

void* counting_realloc(void* block, std::size_t size) {
  if (refuse()) return nullptr;
  void* moved = internal_realloc(block, size);
  if (moved != nullptr && block == nullptr) ++live_count;
  return moved;
}

void counting_free(void* block) {
  if (block != nullptr) --live_count;
  internal_free(block);
}

}  // namespace

CountingBackEnd::CountingBackEnd() {
  ensure_setup();
  QSL_Free_Buffers();
  fail_none();
  made_count = refused_count = live_count = 0;
  back_end = {counting_malloc, counting_realloc, counting_free};
}

CountingBackEnd::~CountingBackEnd() {
  fail_none();
  QSL_Free_Buffers();
  back_end = {internal_malloc, internal_realloc, internal_free};
}

void CountingBackEnd::fail(int successes, int failures) {
  bad_calls = failures;
  good_calls = successes;
}
void CountingBackEnd::fail_all() { fail(0, kAlways); }
void CountingBackEnd::fail_none() { good_calls = kAlways; }
int CountingBackEnd::made() { return made_count; }
int CountingBackEnd::refused() { return refused_count; }
std::size_t CountingBackEnd::last_size() { return last_asked; }
int CountingBackEnd::live() { return live_count; }

void Memory::reset() {
  set_variable("QSL_DISABLE_FAST_MM", nullptr);
  set_variable("QSL_FAST_MEMORY_LIMIT", nullptr);
  ensure_setup();
  QSL_Free_Buffers();
  EXPECT_EQ(registry.next_index, 0u) << "a block of the fast layer was left in use";
  settings = {};
  setup_state = Setup::none;
  high_bandwidth = {};
  hbw_limit = kNoLimit;
  bound_allocator = {};
  totals = {};
}

Totals statistics() {
  Totals sum = totals;
  for (std::uint32_t index = 1; index <= registry.next_index; ++index) {
    if (const ThreadRecord* record = entry_at(index)->record) {
      sum.blocks += record->stat_blocks;
      sum.bytes += record->stat_bytes;
    }
  }
  return sum;
}

ThreadRecord* own_record() { return calling_record(); }

}  // namespace memory_test
