// Tables of routines, which are measured in this library and in its peers.
//
// A family's source file has one table. A row is a routine's name in the results, its symbols, its
// shapes, the number of its operations and how it is called; benchmarks are named
// ROUTINE/LIBRARY/SHAPE, a shape being its sizes with an x between them. All libraries meet a shape
// one after the other. The counter "flops", where operations are counted, is their number in an
// iteration.
//
// A library is a file that is loaded: this library, OpenBLAS, and Eigen in a module of our own that
// exports the same symbols (eigen/). Which of them has a routine is found out by its symbol. All
// are called through pointers.
#pragma once

#include <benchmark/benchmark.h>

#include <initializer_list>
#include <vector>

namespace qsl_bench {

using Shape = std::vector<int>;

// A routine's code in one library: ours and the peers' symbols may be of different types.
struct Function {
  void* code;
  bool is_own;

  template <class Signature>
  Signature* as() const {
    return reinterpret_cast<Signature*>(code);
  }
};

// How a routine is measured with one shape; answers the number of calls in an iteration.
struct Measure {
  double (*run)(benchmark::State&, Function, const Shape&);
  bool is_timed_by_hand = false;
};

// What is measured beside the libraries.
struct Yardstick {
  const char* name = nullptr;
  void (*run)(benchmark::State&, const Shape&) = nullptr;
};

struct Row {
  const char* routine;
  const char* symbol;       // this library's
  const char* peer_symbol;  // null: this library alone
  std::vector<Shape> shapes;
  double (*operations)(const Shape&);  // of a call; null: times are those of a call
  Measure measure;
  Yardstick yardstick = {};
};

// The family's table.
std::vector<Row> rows();

// Shapes of one size.
std::vector<Shape> sizes(std::initializer_list<int> of);

// A routine that can be called again and again with the same operands. `Operands` is made of the
// shape, `Call` has no state and takes the function, the shape and the operands.
template <class Signature, class Operands, class Call>
Measure repeat(Call) {
  return {[](benchmark::State& state, Function function, const Shape& shape) {
    Operands operands(shape);
    auto* code = function.as<Signature>();
    for (auto _ : state) {
      Call{}(code, shape, operands);
      benchmark::ClobberMemory();
    }
    return 1.0;
  }};
}

// Numbers between -1 and 1, the same in every process.
class Random {
 public:
  double operator()() {
    state_ = state_ * 1664525u + 1013904223u;
    return static_cast<int>(state_) / 2147483648.0;
  }

 private:
  unsigned state_ = 1;
};

}  // namespace qsl_bench
