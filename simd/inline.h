// What every vector header starts from: forced inlining and loops unrolled at compile time.
//
// Vector code has no function calls inside: a call would spill all eight registers. The helpers
// live in the namespace of the level that is being compiled, so that no two levels share a symbol.
#pragma once

#ifndef QSL_LEVEL
#error "vector headers are compiled for one instruction-set level: define QSL_LEVEL"
#endif

#define QSL_INLINE [[gnu::always_inline]] inline
// The same for a lambda: stands after its parameter list.
#define QSL_INLINE_LAMBDA __attribute__((always_inline))

namespace qsl::QSL_LEVEL {

// Keeps a loop's counter in its register. The compiler would otherwise replace it by an end address
// and work out the count after the loop, in registers that 32-bit code does not have. (Nor does it
// jump on the flags of the subtraction then. Loops that did, by inline assembly, ran no faster at
// any level: dot product, daxpy, tiles of the matrix product. With one index register for both
// arrays, daxpy ran at 0.91 to 0.96 of its speed.)
QSL_INLINE void keep(int& counter) { asm("" : "+r"(counter)); }

// Has a vector in a register at this point of the order of such points. Where loads are what a loop
// has too many of, the compiler would otherwise load a vector again for every use, as the memory
// operand of an instruction; or load the vectors of the next pass early and spill sums for them.
template <class Vector>
QSL_INLINE void keep_vector(Vector& x) {
  asm volatile("" : "+x"(x.v));
}

// An integer known at compile time, as an argument.
template <int i>
struct Index {
  static constexpr int value = i;
};

// body(Index<0>{}), body(Index<1>{}), ... body(Index<count - 1>{}), without a loop.
template <int count, int i = 0, class Body>
QSL_INLINE void unroll(const Body& body) {
  if constexpr (i < count) {
    body(Index<i>{});
    unroll<count, i + 1>(body);
  }
}

// body(Index<i>{}) for a number from `first` to `last` that is known at run time only; by halves,
// for want of jump tables.
template <int first, int last, class Body>
QSL_INLINE auto at_index(int i, const Body& body) {
  constexpr int middle = first + (last - first) / 2;
  if constexpr (first == last) {
    return body(Index<first>{});
  } else {
    return i <= middle ? at_index<first, middle>(i, body) : at_index<middle + 1, last>(i, body);
  }
}

// The same for few numbers, of which the last ones come most often: one after another, from the
// last on. (Measured where tiles of the smallest products choose their last columns: by halves, 5 %
// of a product of order 5.)
template <int first, int last, class Body>
QSL_INLINE auto at_index_from_last(int i, const Body& body) {
  if constexpr (first == last) {
    return body(Index<first>{});
  } else {
    if (i == last) return body(Index<last>{});
    return at_index_from_last<first, last - 1>(i, body);
  }
}

}  // namespace qsl::QSL_LEVEL
