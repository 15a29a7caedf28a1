// A pair of allocation and release: the C library, QSL_malloc and the library's per-thread cache.
//
// Benchmarks are named allocate/ALLOCATOR/BYTES. One byte of the block is written.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>

#include "include/qsl/memory.h"
#include "runtime/memory/memory.h"

namespace {

constexpr std::size_t sizes[] = {64, 4096, 65536, 1048576, 16777216};

struct Allocator {
  const char* name;
  void* (*allocate)(std::size_t size);
  void (*release)(void* p);
};

const Allocator allocators[] = {
    {"malloc", [](std::size_t size) { return std::malloc(size); }, [](void* p) { std::free(p); }},
    {"QSL_malloc", [](std::size_t size) { return QSL_malloc(size, 64); }, QSL_free},
    {"qsl_mm_allocate", [](std::size_t size) { return qsl_mm_allocate(size, 64); },
     qsl_mm_deallocate},
};

void measure(benchmark::State& state, const Allocator& allocator, std::size_t size) {
  for (auto _ : state) {
    void* block = allocator.allocate(size);
    *static_cast<volatile char*>(block) = 1;
    allocator.release(block);
  }
}

}  // namespace

int main(int argc, char** argv) {
  for (const Allocator& allocator : allocators) {
    for (const std::size_t size : sizes) {
      const std::string name =
          std::string("allocate/") + allocator.name + "/" + std::to_string(size);
      benchmark::RegisterBenchmark(
          name.c_str(), [=](benchmark::State& state) { measure(state, allocator, size); });
    }
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
}
