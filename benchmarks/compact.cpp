// Batches of small complex matrices, 4096 of an order, column-major. OpenBLAS takes them one after
// another; so does the loop of fixed order, which is compiled for AVX2 and has no pivoting. A
// second size is the group of the format, where it is not the processor's own.
#include <algorithm>
#include <chrono>
#include <cstring>
#include <type_traits>

#include "benchmarks/fixed_lu.h"
#include "benchmarks/harness.h"
#include "include/qsl/compact.h"

namespace qsl_bench {
namespace {

constexpr int kMatrices = 4096;

using Getrf = void(const int* m, const int* n, double* a, const int* lda, int* ipiv, int* info);
using Trsm = void(const char* side, const char* uplo, const char* trans, const char* diag,
                  const int* m, const int* n, const double* alpha, const double* a, const int* lda,
                  double* b, const int* ldb);

double seconds() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

int format_of(const Shape& shape) {
  if (shape.size() < 2) return qsl_get_format_compact();
  return shape[1] == 2 ? QSL_COMPACT_SSE : shape[1] == 4 ? QSL_COMPACT_AVX : QSL_COMPACT_AVX512;
}

// Diagonally dominant matrices, and the same in the compact format.
struct Batch {
  explicit Batch(const Shape& shape)
      : n(shape[0]),
        size(2 * n * n),
        format(format_of(shape)),
        plain(static_cast<std::size_t>(size) * kMatrices),
        compact(qsl_zget_size_compact(n, n, format, kMatrices) / sizeof(double)) {
    Random next;
    for (double& part : plain) part = next();
    for (int k = 0; k < kMatrices; k++) {
      for (int i = 0; i < n; i++) plain[k * size + 2 * i * (n + 1)] += 2 * n;
      pointers.push_back(reinterpret_cast<complex_double*>(&plain[k * size]));
    }
    qsl_zgepack_compact(CblasColMajor, n, n, pointers.data(), n, compact.data(), n, format,
                        kMatrices);
  }

  int n, size, format;  // doubles of a matrix
  std::vector<double> plain, compact;
  std::vector<complex_double*> pointers;
};

// Times body(fresh), with a fresh copy of the operand for each pass, which is not timed.
template <class Body>
void time_fresh(benchmark::State& state, const std::vector<double>& original, const Body& body) {
  std::vector<double> fresh(original.size());
  for (auto _ : state) {
    std::copy(original.begin(), original.end(), fresh.begin());
    const double start = seconds();
    body(fresh.data());
    state.SetIterationTime(seconds() - start);
    benchmark::ClobberMemory();
  }
}

double run_lu(benchmark::State& state, Function function, const Shape& shape) {
  const Batch batch(shape);
  int info;
  if (function.is_own) {
    auto* factor = function.as<decltype(qsl_zgetrfnp_compact)>();
    time_fresh(state, batch.compact, [&](double* a) {
      factor(CblasColMajor, batch.n, batch.n, a, batch.n, &info, batch.format, kMatrices);
    });
  } else {
    auto* factor = function.as<Getrf>();
    std::vector<int> pivots(batch.n);
    time_fresh(state, batch.plain, [&](double* a) {
      for (int k = 0; k < kMatrices; k++) {
        factor(&batch.n, &batch.n, a + k * batch.size, &batch.n, pivots.data(), &info);
      }
    });
  }
  return kMatrices;
}

void run_fixed_lu(benchmark::State& state, const Shape& shape) {
  const Batch batch(shape);
  const FixedLu factor = fixed_lu(batch.n);
  if (factor == nullptr) {
    state.SkipWithError("no loop for this order on this processor");
    return;
  }
  time_fresh(state, batch.plain, [&](double* a) {
    for (int k = 0; k < kMatrices; k++) factor(a + k * batch.size);
  });
  state.counters["flops"] = kMatrices * 8.0 / 3 * batch.n * batch.n * batch.n;
}

// As many right-hand sides as rows.
double run_trsm(benchmark::State& state, Function function, const Shape& shape) {
  const Batch batch(shape);
  const complex_double one = {1, 0};
  if (function.is_own) {
    auto* solve = function.as<decltype(qsl_ztrsm_compact)>();
    time_fresh(state, batch.compact, [&](double* b) {
      solve(CblasColMajor, CblasLeft, CblasLower, CblasNoTrans, CblasNonUnit, batch.n, batch.n,
            &one, batch.compact.data(), batch.n, b, batch.n, batch.format, kMatrices);
    });
  } else {
    auto* solve = function.as<Trsm>();
    time_fresh(state, batch.plain, [&](double* b) {
      for (int k = 0; k < kMatrices; k++) {
        solve("L", "L", "N", "N", &batch.n, &batch.n, &one.real, &batch.plain[k * batch.size],
              &batch.n, b + k * batch.size, &batch.n);
      }
    });
  }
  return kMatrices;
}

// Bytes that are moved, for copies of a number of matrices, which decides on the cache.
struct Copies {
  explicit Copies(const Shape& shape) : batch({shape[0]}), count(shape[1]), to(batch.compact) {}

  Batch batch;
  int count;
  std::vector<double> to;
};

Measure pack() {
  return repeat<decltype(qsl_zgepack_compact), Copies>([](auto* copy, const Shape&, Copies& c) {
    copy(CblasColMajor, c.batch.n, c.batch.n, c.batch.pointers.data(), c.batch.n, c.to.data(),
         c.batch.n, c.batch.format, c.count);
  });
}

Measure unpack() {
  return repeat<decltype(qsl_zgeunpack_compact), Copies>([](auto* copy, const Shape&, Copies& c) {
    copy(CblasColMajor, c.batch.n, c.batch.n, c.batch.pointers.data(), c.batch.n,
         c.batch.compact.data(), c.batch.n, c.batch.format, c.count);
  });
}

void run_memcpy(benchmark::State& state, const Shape& shape) {
  Copies c(shape);
  const std::size_t bytes = sizeof(double) * c.batch.size * c.count;
  for (auto _ : state) {
    std::memcpy(c.to.data(), c.batch.plain.data(), bytes);
    benchmark::ClobberMemory();
  }
}

double lu_operations(const Shape& shape) {
  const double n = shape[0];
  return 8.0 / 3 * n * n * n;
}
double trsm_operations(const Shape& shape) {
  const double n = shape[0];
  return 4 * n * n * n;
}

// Every format at every order.
std::vector<Shape> formats_of(std::initializer_list<int> orders) {
  std::vector<Shape> shapes;
  for (const int n : orders) {
    for (const int group : {2, 4, 8}) shapes.push_back({n, group});
  }
  return shapes;
}

}  // namespace

std::vector<Row> rows() {
  const Yardstick loop = {"loop", run_fixed_lu}, copy = {"memcpy", run_memcpy};
  const std::vector<Shape> orders = sizes({2, 3, 4, 5, 8, 16});
  const char *lu = "qsl_zgetrfnp_compact", *trsm = "qsl_ztrsm_compact";
  // In the second-level cache, and in memory.
  const std::vector<Shape> copies = {{3, 128}, {5, 128}, {8, 64}, {16, 16}, {3, 4096}, {16, 4096}};
  return {
      {"zgetrfnp_compact", lu, "zgetrf_", orders, lu_operations, {run_lu, true}, loop},
      {"zgetrfnp_compact-formats",
       lu,
       "zgetrf_",
       formats_of({2, 3, 4, 5, 8, 16}),
       lu_operations,
       {run_lu, true},
       loop},
      {"ztrsm_compact", trsm, "ztrsm_", orders, trsm_operations, {run_trsm, true}},
      {"zgepack_compact", "qsl_zgepack_compact", nullptr, copies, nullptr, pack(), copy},
      {"zgeunpack_compact", "qsl_zgeunpack_compact", nullptr, copies, nullptr, unpack(), copy},
  };
}

}  // namespace qsl_bench
