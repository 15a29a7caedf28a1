// The cases of one level.
#include "tests/simd/cases.h"

#include "simd/level.h"

namespace qsl::QSL_LEVEL {
namespace {

using simd_test::Arguments;
using simd_test::Case;
using simd_test::Cases;
using simd_test::Conversion;
using simd_test::Kind;

template <class Element>
struct KindOf;
template <>
struct KindOf<double> {
  static constexpr Kind kind = Kind::f64;
};
template <>
struct KindOf<float> {
  static constexpr Kind kind = Kind::f32;
};
template <>
struct KindOf<std::int64_t> {
  static constexpr Kind kind = Kind::i64;
};
template <>
struct KindOf<std::int32_t> {
  static constexpr Kind kind = Kind::i32;
};

template <int count>
constexpr Cases listed(const Case (&cases)[count]) {
  return {cases, count};
}

template <class V>
QSL_INLINE V read(const void* p) {
  return V::load(static_cast<const typename V::Element*>(p));
}
template <class V>
QSL_INLINE void write(V x, void* p) {
  x.store(static_cast<typename V::Element*>(p));
}
QSL_INLINE void write_scalar(f64 x, void* p) { x.store(static_cast<double*>(p)); }
QSL_INLINE void write_scalar(f32 x, void* p) { x.store(static_cast<float*>(p)); }
QSL_INLINE void write_scalar(std::int64_t x, void* p) { *static_cast<std::int64_t*>(p) = x; }
QSL_INLINE void write_scalar(std::int32_t x, void* p) { *static_cast<std::int32_t*>(p) = x; }

// All bits of the lanes at even places.
template <class V>
QSL_INLINE V even_ones() {
  if constexpr (FloatVector<V>) {
    using I = typename V::Integers;
    return unpack_lower(I::constant(-1), I::zero()).floats();
  } else {
    return unpack_lower(V::constant(-1), V::zero());
  }
}

#define QSL_CASE(expression, statement)                                              \
  {                                                                                  \
    expression, [](const Arguments& x) {                                             \
      [[maybe_unused]] const V a = read<V>(x.a), b = read<V>(x.b), c = read<V>(x.c); \
      [[maybe_unused]] const int k = x.k;                                            \
      statement;                                                                     \
    }                                                                                \
  }
#define LANES(...) QSL_CASE(#__VA_ARGS__, write(__VA_ARGS__, x.out))
#define MASK(...) QSL_CASE(#__VA_ARGS__, *static_cast<int*>(x.out) = (__VA_ARGS__))
#define SCALAR(...) QSL_CASE(#__VA_ARGS__, write_scalar(__VA_ARGS__, x.out))
#define LOAD(...)                                                                 \
  {                                                                               \
#__VA_ARGS__, [](const Arguments& x) {                                          \
      [[maybe_unused]] const auto* p = static_cast<const typename V::Element*>(x.a); \
      [[maybe_unused]] const int k = x.k;                                           \
      write(__VA_ARGS__, x.out);                                                    \
    } \
  }
#define GATHER(...)                                                               \
  {                                                                               \
#__VA_ARGS__, [](const Arguments& x) {                                          \
      const auto* p = static_cast<const typename V::Element*>(x.a);                 \
      const auto indices = read<typename V::Indices>(x.b);                          \
      [[maybe_unused]] const int k = x.k;                                           \
      write(__VA_ARGS__, x.out);                                                    \
    } \
  }
#define STORE(...)                                                                \
  {                                                                               \
#__VA_ARGS__, [](const Arguments& x) {                                          \
      const V b = read<V>(x.b);                                                     \
      auto* p = static_cast<typename V::Element*>(x.out);                           \
      [[maybe_unused]] const int k = x.k;                                           \
      __VA_ARGS__;                                                                  \
    } \
  }

// What every type has.
#define LANES_OF_ALL_TYPES                                                                      \
  LANES(a + b), LANES(a - b), LANES((a & b)), LANES(a | b), LANES(a ^ b), LANES(and_not(a, b)), \
      LANES(negate(a)), LANES(absolute(a)), LANES(greater_of(a, b)), LANES(lesser_of(a, b)),    \
      LANES(select(a < b, a, b)), LANES(select_by_lanes(even_ones<V>(), a, b)),                 \
      LANES(zero_unless(a < b, a)), LANES(select(V::Mask::first(k), a, b)), LANES(dup_even(a)), \
      LANES(dup_odd(a)), LANES(swap_pairs(a)), LANES(reverse(a)), LANES(unpack_lower(a, b)),    \
      LANES(unpack_upper(a, b)), LANES(interleave_lower(a, b)), LANES(interleave_upper(a, b)),  \
      LANES(even_lanes(a, b)), LANES(odd_lanes(a, b)), LANES(first_then<0>(a, b)),              \
      LANES(first_then<1>(a, b)), LANES(first_then<V::lanes / 2>(a, b)),                        \
      LANES(first_then<V::lanes - 1>(a, b)), LANES(first_then<V::lanes>(a, b)),                 \
      LANES(broadcast_lane<0>(a)), LANES(broadcast_lane<1>(a)),                                 \
      LANES(broadcast_lane<V::lanes - 1>(a)), LANES(broadcast_pair_of<0>(a)),                   \
      LANES(broadcast_pair_of<V::lanes / 2 - 1>(a))
#define MASKS_OF_ALL_TYPES                                                                         \
  MASK(to_bits(a == b)), MASK(to_bits(a != b)), MASK(to_bits(a < b)), MASK(to_bits(a <= b)),       \
      MASK(to_bits(a > b)), MASK(to_bits(a >= b)), MASK(to_bits((a < b) & (b < c))),               \
      MASK(to_bits((a < b) | (b < c))), MASK(to_bits((a < b) ^ (b < c))), MASK(to_bits(~(a < b))), \
      MASK(to_bits(and_not(a < b, b < c))), MASK(any(a < b)), MASK(all(a < b)), MASK(none(a < b)), \
      MASK(equal_lanes(a, b)), MASK(to_bits(V::Mask::first(k)))
#define SCALARS_OF_ALL_TYPES \
  SCALAR(sum_lanes(a)), SCALAR(max_lanes(a)), SCALAR(min_lanes(a)), SCALAR(first_lane(a))
#define LOADS_OF_ALL_TYPES                                                                         \
  LOAD(V::load(p)), LOAD(V::load_aligned(p)), LOAD(V::load_first(p, k)), LOAD(V::load_rest(p, k)), \
      LOAD(V::broadcast_from(p)), LOAD(V::zero())
#define STORES_OF_ALL_TYPES                                                 \
  STORE(b.store(p)), STORE(b.store_aligned(p)), STORE(b.store_first(p, k)), \
      STORE(b.store_rest(p, k)), STORE(b.store_streaming(p); end_streaming())

template <class V>
struct FloatCases {
  static constexpr Case lanewise[] = {
      LANES_OF_ALL_TYPES,
      LANES((a * b)),
      LANES(a / b),
      LANES(mul_add(a, b, c)),
      LANES(mul_sub(a, b, c)),
      LANES(neg_mul_add(a, b, c)),
      LANES(mul_sub_add(a, b, c)),
      LANES(mul_add_sub(a, b, c)),
      LANES(mul_add_first(a, b, c, k)),
      LANES(add_sub(a, b)),
      LANES(square_root(a)),
      LANES(round_to_nearest(a)),
      LANES(with_sign_of(absolute(a), b)),
      LANES(copy_sign(a, b)),
      LANES(negate_even(a)),
      LANES(negate_odd(a)),
      LANES(as_floats(as_integers(a))),
      LANES(V::broadcast(first_lane(a))),
      LANES(V::lower(first_lane(a))),
      LANES(V::constant(static_cast<typename V::Element>(1.5))),
  };
  static constexpr Case masks[] = {MASKS_OF_ALL_TYPES, MASK(to_bits(unordered(a, b))),
                                   MASK(nan_lanes(a))};
  static constexpr Case scalars[] = {SCALARS_OF_ALL_TYPES};
  static constexpr Case loads[] = {
      LOADS_OF_ALL_TYPES, LOAD(V::broadcast_pair(p)), GATHER(V::gather(p, indices)),
      GATHER(V::gather_first(p, indices, k)), LOAD(V::gather(p, V::offsets(k)))};
  static constexpr Case stores[] = {STORES_OF_ALL_TYPES};
};

template <class V>
struct IntegerCases {
  static constexpr int bits = 8 * static_cast<int>(sizeof(typename V::Element));
  static constexpr Case lanewise[] = {
      LANES_OF_ALL_TYPES,
      LANES(~a),
      LANES(shift_left<0>(a)),
      LANES(shift_left<5>(a)),
      LANES(shift_left<bits - 1>(a)),
      LANES(shift_right<0>(a)),
      LANES(shift_right<5>(a)),
      LANES(shift_right<bits - 1>(a)),
      LANES(shift_right_arithmetic<0>(a)),
      LANES(shift_right_arithmetic<5>(a)),
      LANES(shift_right_arithmetic<bits - 1>(a)),
      LANES(shift_left(a, k)),
      LANES(shift_right(a, k)),
      LANES(shift_right_arithmetic(a, k)),
      LANES(as_integers(as_floats(a))),
      LANES(V::broadcast(first_lane(a))),
      LANES(V::constant(-3)),
  };
  static constexpr Case masks[] = {MASKS_OF_ALL_TYPES};
  static constexpr Case scalars[] = {SCALARS_OF_ALL_TYPES};
  static constexpr Case loads[] = {LOADS_OF_ALL_TYPES};
  static constexpr Case stores[] = {STORES_OF_ALL_TYPES};
};

// What two doubles have alone.
template <class V>
struct PairCases : FloatCases<V> {
  static constexpr Case lanewise[] = {
      LANES(sum_lanes(a, b)),
      LANES(straddle(a, b)),
      LANES(add_lower(a, first_lane(b))),
  };
  static constexpr Case loads[] = {LOAD(V::load_halves(p)), LOAD(V::load_upper(p)),
                                   LOAD(V::gather(p, p + 1))};
  static constexpr Case stores[] = {STORE(b.store_halves(p))};
};

template <class V>
struct WideCases {
  static constexpr Case lanewise[] = {
      LANES(combine(lower_half(b), upper_half(a))),
      LANES(combine(sum_halves(a), sum_halves(b))),
  };
};

template <class V, template <class> class Of>
constexpr simd_test::Type type_of(const char* name) {
  using Found = Of<V>;
  return {name,
          KindOf<typename V::Element>::kind,
          V::lanes,
          listed(Found::lanewise),
          listed(Found::masks),
          listed(Found::scalars),
          listed(Found::loads),
          listed(Found::stores)};
}
template <class V>
constexpr simd_test::Type pairs_alone(const char* name) {
  using Found = PairCases<V>;
  return {name,
          Kind::f64,
          V::lanes,
          listed(Found::lanewise),
          {},
          {},
          listed(Found::loads),
          listed(Found::stores)};
}
template <class V>
constexpr simd_test::Type wide(const char* name) {
  return {
      name, KindOf<typename V::Element>::kind, V::lanes, listed(WideCases<V>::lanewise), {}, {}, {},
      {}};
}

constexpr simd_test::Type types[] = {
    type_of<f64x2, FloatCases>("f64x2"),
    pairs_alone<f64x2>("f64x2"),
    type_of<f32x4, FloatCases>("f32x4"),
    type_of<i64x2, IntegerCases>("i64x2"),
    type_of<i32x4, IntegerCases>("i32x4"),
#if defined(__AVX__)
    type_of<f64x4, FloatCases>("f64x4"),
    type_of<f32x8, FloatCases>("f32x8"),
    type_of<i64x4, IntegerCases>("i64x4"),
    type_of<i32x8, IntegerCases>("i32x8"),
    wide<f64x4>("f64x4"),
    wide<f32x8>("f32x8"),
    wide<i64x4>("i64x4"),
    wide<i32x8>("i32x8"),
#endif
#if defined(__AVX512F__)
    type_of<f64x8, FloatCases>("f64x8"),
    type_of<f32x16, FloatCases>("f32x16"),
    type_of<i64x8, IntegerCases>("i64x8"),
    type_of<i32x16, IntegerCases>("i32x16"),
    wide<f64x8>("f64x8"),
    wide<f32x16>("f32x16"),
    wide<i64x8>("i64x8"),
    wide<i32x16>("i32x16"),
#endif
};

template <class To, class From>
constexpr Conversion converted() {
  return {"convert",
          KindOf<typename From::Element>::kind,
          KindOf<typename To::Element>::kind,
          From::lanes,
          To::lanes,
          [](const Arguments& x) { write(convert<To>(read<From>(x.a)), x.out); }};
}
template <class To, class From>
constexpr Conversion truncated() {
  return {"truncate",
          KindOf<typename From::Element>::kind,
          KindOf<typename To::Element>::kind,
          From::lanes,
          To::lanes,
          [](const Arguments& x) { write(truncate<To>(read<From>(x.a)), x.out); }};
}

// f64, i64: the vectors of a width; i32, f32: those of as many lanes, at least four.
#define CONVERSIONS(f64, i64, f32, i32)                                                           \
  converted<f64, i32>(), converted<i32, f64>(), truncated<i32, f64>(), converted<f64, f32>(),     \
      converted<f32, f64>(), converted<f64, i64>(), converted<i64, f64>(), converted<i64, i32>(), \
      converted<i32, i64>()
#define CONVERSIONS_OF_FLOATS(f32, i32) \
  converted<f32, i32>(), converted<i32, f32>(), truncated<i32, f32>()

constexpr Conversion conversions[] = {
    CONVERSIONS(f64x2, i64x2, f32x4, i32x4), CONVERSIONS_OF_FLOATS(f32x4, i32x4),
#if defined(__AVX__)
    CONVERSIONS(f64x4, i64x4, f32x4, i32x4), CONVERSIONS_OF_FLOATS(f32x8, i32x8),
#endif
#if defined(__AVX512F__)
    CONVERSIONS(f64x8, i64x8, f32x8, i32x8), CONVERSIONS_OF_FLOATS(f32x16, i32x16),
#endif
};

#define QSL_TEXT(x) #x
#define QSL_EXPANDED_TEXT(x) QSL_TEXT(x)

constexpr simd_test::Level level = {
    QSL_EXPANDED_TEXT(QSL_LEVEL),     has_fma,     types,
    sizeof(types) / sizeof(types[0]), conversions, sizeof(conversions) / sizeof(conversions[0])};

}  // namespace

const simd_test::Level& operation_cases() { return level; }

}  // namespace qsl::QSL_LEVEL
