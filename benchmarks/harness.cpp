#include "benchmarks/harness.h"

#include <dlfcn.h>

#include <cstdio>
#include <string>

namespace qsl_bench {
namespace {

struct Library {
  const char* name;
  void* handle;
};

// The peer gets the best flags that it knows and the processor has; null: it has none of them.
const char* eigen_file() {
  const bool avx2 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
  const bool avx512 = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
                      __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512bw");
  if (avx2 && avx512) return "libbench_eigen_avx512.so";
  return avx2 ? "libbench_eigen_avx2.so" : nullptr;
}

void load(std::vector<Library>* libraries, const char* name, const char* file) {
  if (file == nullptr) return;
  void* handle = dlopen(file, RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) std::fprintf(stderr, "%s is left out: %s\n", name, dlerror());
  if (handle != nullptr) libraries->push_back({name, handle});
}

std::string text(const Shape& shape) {
  std::string joined;
  for (const int size : shape) joined += (joined.empty() ? "" : "x") + std::to_string(size);
  return joined;
}

template <class Run>
void add(const Row& row, const char* participant, const Shape& shape, const Run& run) {
  const std::string name = std::string(row.routine) + "/" + participant + "/" + text(shape);
  auto* made = benchmark::RegisterBenchmark(name.c_str(), run);
  if (row.measure.is_timed_by_hand) made->UseManualTime();
}

void add(const Row& row, const Shape& shape, const std::vector<Library>& libraries) {
  if (row.yardstick.run != nullptr) {
    add(row, row.yardstick.name, shape,
        [=, &row](benchmark::State& state) { row.yardstick.run(state, shape); });
  }
  for (const Library& library : libraries) {
    const bool is_own = &library == &libraries.front();
    const char* symbol = is_own ? row.symbol : row.peer_symbol;
    void* code = symbol != nullptr ? dlsym(library.handle, symbol) : nullptr;
    if (code == nullptr) continue;
    add(row, library.name, shape, [=, &row](benchmark::State& state) {
      const double calls = row.measure.run(state, {code, is_own}, shape);
      if (row.operations != nullptr) state.counters["flops"] = calls * row.operations(shape);
    });
  }
}

}  // namespace

std::vector<Shape> sizes(std::initializer_list<int> of) {
  std::vector<Shape> shapes;
  for (const int size : of) shapes.push_back({size});
  return shapes;
}

}  // namespace qsl_bench

int main(int argc, char** argv) {
  using namespace qsl_bench;
  std::vector<Library> libraries;
  load(&libraries, "qsl", "libqsl.so.1");
  if (libraries.empty()) return 1;
  load(&libraries, "openblas", "libopenblas.so.0");
  load(&libraries, "eigen", eigen_file());
  const std::vector<Row> table = rows();
  for (const Row& row : table) {
    for (const Shape& shape : row.shapes) add(row, shape, libraries);
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
}
