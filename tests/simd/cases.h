// What the vector types' operations are called by: one function a type and operation, which takes
// its operands from memory and puts its result there.
#pragma once

namespace simd_test {

// Operands are as many elements as the type has lanes, at any address.
struct Arguments {
  const void* a;
  const void* b;
  const void* c;
  void* out;
  int k;
};
using Run = void (*)(const Arguments&);

struct Case {
  const char* name;  // the expression that is computed
  Run run;
};

enum class Kind { f64, f32, i64, i32 };

struct Cases {
  const Case* first;
  int count;
};

struct Type {
  const char* name;
  Kind kind;
  int lanes;
  Cases lanewise;  // a result of as many lanes
  Cases masks;     // an int
  Cases scalars;   // one element
  Cases loads;     // from a, to the lanes of the result
  Cases stores;    // the lanes of b, to the result
};

struct Conversion {
  const char* name;
  Kind from, to;
  int from_lanes, to_lanes;
  Run run;
};

struct Level {
  const char* name;
  bool fused;
  const Type* types;
  int type_count;
  const Conversion* conversions;
  int conversion_count;
};

}  // namespace simd_test

#define QSL_TEST_LEVEL(level)                \
  namespace qsl::level {                     \
  const simd_test::Level& operation_cases(); \
  }
QSL_TEST_LEVEL(p4)
QSL_TEST_LEVEL(p4m)
QSL_TEST_LEVEL(p4m3)
QSL_TEST_LEVEL(avx)
QSL_TEST_LEVEL(avx2)
QSL_TEST_LEVEL(avx512)
QSL_TEST_LEVEL(cnr)
#undef QSL_TEST_LEVEL
