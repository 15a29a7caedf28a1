// Exits while its threads are allocating. The argument is the time given to them in microseconds.
// With EXIT_FAST it holds the library's objects and uses the fast layer.
#include <chrono>
#include <cstdlib>
#include <thread>

#include "qsl/memory.h"

#ifdef EXIT_FAST
#include "runtime/lifecycle.h"
#include "runtime/memory/memory.h"

// What the shared library does when it is unloaded or the process exits.
[[gnu::destructor]] static void on_unload() { qsl_process_detach(false); }
#endif

namespace {

void* allocate(std::size_t size) {
#ifdef EXIT_FAST
  if (size % 3 != 0) return qsl_mm_allocate(size, 64);
#endif
  return QSL_malloc(size, 64);
}

void release(void* p, [[maybe_unused]] std::size_t size) {
#ifdef EXIT_FAST
  if (size % 3 != 0) return qsl_mm_deallocate(p);
#endif
  QSL_free(p);
}

void allocate_for_ever(std::size_t first) {
  for (std::size_t i = first;; ++i) {
    const std::size_t size = 64 + i % 7 * 1000;
    void* p = allocate(size);
    if (p == nullptr) std::abort();
    *static_cast<volatile char*>(p) = 1;
#ifdef EXIT_FAST
    if (i % 16 == 0) qsl_thread_state();
#endif
    if (i % 1024 == 0) QSL_Free_Buffers();
    if (i % 4096 == 5) std::thread([] { release(allocate(100), 100); }).detach();
    release(p, size);
  }
}

}  // namespace

int main(int argc, char** argv) {
  for (std::size_t t = 0; t < 4; ++t) std::thread(allocate_for_ever, t).detach();
  std::this_thread::sleep_for(std::chrono::microseconds(argc > 1 ? std::atoi(argv[1]) : 1000));
  std::exit(7);
}
