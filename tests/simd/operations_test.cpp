// What the operations compute, lane by lane.
#include <functional>
#include <map>

#include "tests/level1/fused.h"
#include "tests/simd/support.h"

namespace simd_test {
namespace {

// a * b + c rounded once. One platform's C library rounds doubles twice; the other way knows
// neither infinities nor products whose lower half is not a normal number.
double rounded_once(double a, double b, double c) {
  const double product = a * b;
  const bool ordinary = std::isfinite(product + c) && std::fabs(product) > 1e-200;
  return ordinary ? level1_test::fused(a, b, c) : std::fma(a, b, c);
}
float rounded_once(float a, float b, float c) { return std::fma(a, b, c); }

// Lane i of the result, from all operands.
template <class T>
struct LaneModel {
  // Any NaN will do where a NaN is expected.
  bool arithmetic;
  std::function<BitsOf<T>(const Operands<T>&, int i)> lane;
};
template <class T>
using LaneModels = std::map<std::string, LaneModel<T>>;

template <class T>
T number(BitsOf<T> bits) {
  return bit_cast<T>(bits);
}

// Elements of a and b behind each other.
template <class T>
BitsOf<T> joined(const Operands<T>& o, int lanes, int i) {
  return i < lanes ? o.a[i] : o.b[i - lanes];
}

template <class T>
constexpr int bits_of_lane = 8 * static_cast<int>(sizeof(T));
template <class T>
constexpr int block_lanes = 16 / static_cast<int>(sizeof(T));

// Operations that move and choose, and those of the bits.
template <class T>
void add_moves(LaneModels<T>& models, int lanes) {
  using Bits = BitsOf<T>;
  using O = Operands<T>;
  const auto move = [&](const char* name, auto source) {
    models[name] = {false, [=](const O& o, int i) { return joined<T>(o, lanes, source(i)); }};
  };
  constexpr int block = block_lanes<T>;
  const int half = lanes / 2;
  move("dup_even(a)", [](int i) { return i & ~1; });
  move("dup_odd(a)", [](int i) { return i | 1; });
  move("swap_pairs(a)", [](int i) { return i ^ 1; });
  move("reverse(a)", [=](int i) { return lanes - 1 - i; });
  const auto unpacked = [=](int i, int from) {
    return i / block * block + from + i % block / 2 + (i % 2 == 0 ? 0 : lanes);
  };
  move("unpack_lower(a, b)", [=](int i) { return unpacked(i, 0); });
  move("unpack_upper(a, b)", [=](int i) { return unpacked(i, block / 2); });
  move("interleave_lower(a, b)", [=](int i) { return i / 2 + (i % 2 == 0 ? 0 : lanes); });
  move("interleave_upper(a, b)", [=](int i) { return half + i / 2 + (i % 2 == 0 ? 0 : lanes); });
  move("even_lanes(a, b)", [](int i) { return 2 * i; });
  move("odd_lanes(a, b)", [](int i) { return 2 * i + 1; });
  const auto first_then = [=](int count) {
    return [=](int i) { return i < count ? i : lanes + i; };
  };
  move("first_then<0>(a, b)", first_then(0));
  move("first_then<1>(a, b)", first_then(1));
  move("first_then<V::lanes / 2>(a, b)", first_then(half));
  move("first_then<V::lanes - 1>(a, b)", first_then(lanes - 1));
  move("first_then<V::lanes>(a, b)", first_then(lanes));
  move("broadcast_lane<0>(a)", [](int) { return 0; });
  move("broadcast_lane<1>(a)", [](int) { return 1; });
  move("broadcast_lane<V::lanes - 1>(a)", [=](int) { return lanes - 1; });
  move("broadcast_pair_of<0>(a)", [](int i) { return i % 2; });
  move("broadcast_pair_of<V::lanes / 2 - 1>(a)", [=](int i) { return lanes - 2 + i % 2; });
  move("select_by_lanes(even_ones<V>(), a, b)", [=](int i) { return i % 2 == 0 ? i : lanes + i; });
  move("V::broadcast(first_lane(a))", [](int) { return 0; });
  move("straddle(a, b)", [](int i) { return i + 1; });
  move("combine(lower_half(b), upper_half(a))", [=](int i) { return i < half ? lanes + i : i; });
  const auto same = [](int i) { return i; };
  move("as_floats(as_integers(a))", same);
  move("as_integers(as_floats(a))", same);

  const auto bits = [&](const char* name, auto function) {
    models[name] = {false,
                    [=](const O& o, int i) { return static_cast<Bits>(function(o.a[i], o.b[i])); }};
  };
  bits("(a & b)", [](Bits a, Bits b) { return a & b; });
  bits("a | b", [](Bits a, Bits b) { return a | b; });
  bits("a ^ b", [](Bits a, Bits b) { return a ^ b; });
  bits("and_not(a, b)", [](Bits a, Bits b) { return a & ~b; });
  const auto less = [](Bits a, Bits b) { return number<T>(a) < number<T>(b); };
  bits("select(a < b, a, b)", [=](Bits a, Bits b) { return less(a, b) ? a : b; });
  bits("zero_unless(a < b, a)", [=](Bits a, Bits b) { return less(a, b) ? a : Bits{0}; });
  models["select(V::Mask::first(k), a, b)"] = {
      false, [](const O& o, int i) { return i < o.k ? o.a[i] : o.b[i]; }};
}

template <class T>
void add_float_bits(LaneModels<T>& models) {
  using Bits = BitsOf<T>;
  using O = Operands<T>;
  constexpr Bits sign = Bits{1} << (bits_of_lane<T> - 1);
  const auto bits = [&](const char* name, auto function) {
    models[name] = {
        false, [=](const O& o, int i) { return static_cast<Bits>(function(o.a[i], o.b[i], i)); }};
  };
  bits("negate(a)", [](Bits a, Bits, int) { return a ^ sign; });
  bits("absolute(a)", [](Bits a, Bits, int) { return a & ~sign; });
  const auto with_sign = [](Bits a, Bits b, int) { return (a & ~sign) | (b & sign); };
  bits("with_sign_of(absolute(a), b)", with_sign);
  bits("copy_sign(a, b)", with_sign);
  bits("negate_even(a)", [](Bits a, Bits, int i) { return i % 2 == 0 ? a ^ sign : a; });
  bits("negate_odd(a)", [](Bits a, Bits, int i) { return i % 2 != 0 ? a ^ sign : a; });
  models["V::lower(first_lane(a))"] = {false,
                                       [](const O& o, int i) { return i == 0 ? o.a[0] : Bits{0}; }};
  models["V::constant(static_cast<typename V::Element>(1.5))"] = {
      false, [](const O&, int) { return bit_cast<Bits>(T(1.5)); }};
}

template <class T>
void add_float_arithmetic(LaneModels<T>& models, int lanes, bool fused) {
  using Bits = BitsOf<T>;
  using O = Operands<T>;
  const auto computed = [&](const char* name, auto function) {
    models[name] = {true, [=](const O& o, int i) {
                      const T result =
                          function(number<T>(o.a[i]), number<T>(o.b[i]), number<T>(o.c[i]), i);
                      return bit_cast<Bits>(result);
                    }};
  };
  const auto multiplied = [fused](T a, T b, T c) {
    return fused ? rounded_once(a, b, c) : a * b + c;
  };
  computed("a + b", [](T a, T b, T, int) { return a + b; });
  computed("a - b", [](T a, T b, T, int) { return a - b; });
  computed("(a * b)", [](T a, T b, T, int) { return a * b; });
  computed("a / b", [](T a, T b, T, int) { return a / b; });
  computed("greater_of(a, b)", [](T a, T b, T, int) { return a > b ? a : b; });
  computed("lesser_of(a, b)", [](T a, T b, T, int) { return a < b ? a : b; });
  computed("mul_add(a, b, c)", [=](T a, T b, T c, int) { return multiplied(a, b, c); });
  computed("mul_sub(a, b, c)", [=](T a, T b, T c, int) { return multiplied(a, b, -c); });
  computed("neg_mul_add(a, b, c)", [=](T a, T b, T c, int) { return multiplied(-a, b, c); });
  computed("mul_sub_add(a, b, c)",
           [=](T a, T b, T c, int i) { return multiplied(a, b, i % 2 == 0 ? -c : c); });
  computed("mul_add_sub(a, b, c)",
           [=](T a, T b, T c, int i) { return multiplied(a, b, i % 2 == 0 ? c : -c); });
  computed("add_sub(a, b)", [](T a, T b, T, int i) { return i % 2 == 0 ? a - b : a + b; });
  computed("square_root(a)", [](T a, T, T, int) { return std::sqrt(a); });
  computed("round_to_nearest(a)", [](T a, T, T, int) { return std::nearbyint(a); });
  models["mul_add_first(a, b, c, k)"] = {
      true, [=](const O& o, int i) {
        const T c = number<T>(o.c[i]);
        return i < o.k ? bit_cast<Bits>(multiplied(number<T>(o.a[i]), number<T>(o.b[i]), c))
                       : o.c[i];
      }};
  models["sum_lanes(a, b)"] = {true, [](const O& o, int i) {
                                 const Bits* from = i == 0 ? o.a : o.b;
                                 return bit_cast<Bits>(T(number<T>(from[1]) + number<T>(from[0])));
                               }};
  models["add_lower(a, first_lane(b))"] = {
      true, [](const O& o, int i) {
        return i == 0 ? bit_cast<Bits>(T(number<T>(o.a[0]) + number<T>(o.b[0]))) : o.a[i];
      }};
  const int half = lanes / 2;
  models["combine(sum_halves(a), sum_halves(b))"] = {
      true, [=](const O& o, int i) {
        const Bits* from = i < half ? o.a : o.b;
        return bit_cast<Bits>(T(number<T>(from[i % half]) + number<T>(from[i % half + half])));
      }};
}

template <class T>
void add_integer_arithmetic(LaneModels<T>& models, int lanes) {
  using Bits = BitsOf<T>;
  using O = Operands<T>;
  const auto bits = [&](const char* name, auto function) {
    models[name] = {
        false, [=](const O& o, int i) { return static_cast<Bits>(function(o.a[i], o.b[i], o.k)); }};
  };
  const auto arithmetic = [](Bits a, int n) { return static_cast<Bits>(number<T>(a) >> n); };
  constexpr int last = bits_of_lane<T> - 1;
  bits("a + b", [](Bits a, Bits b, int) { return a + b; });
  bits("a - b", [](Bits a, Bits b, int) { return a - b; });
  bits("~a", [](Bits a, Bits, int) { return ~a; });
  bits("negate(a)", [](Bits a, Bits, int) { return 0 - a; });
  bits("absolute(a)", [](Bits a, Bits, int) { return number<T>(a) < 0 ? 0 - a : a; });
  bits("greater_of(a, b)", [](Bits a, Bits b, int) { return number<T>(a) > number<T>(b) ? a : b; });
  bits("lesser_of(a, b)", [](Bits a, Bits b, int) { return number<T>(a) < number<T>(b) ? a : b; });
  bits("shift_left<0>(a)", [](Bits a, Bits, int) { return a; });
  bits("shift_left<5>(a)", [](Bits a, Bits, int) { return a << 5; });
  bits("shift_left<bits - 1>(a)", [](Bits a, Bits, int) { return a << last; });
  bits("shift_right<0>(a)", [](Bits a, Bits, int) { return a; });
  bits("shift_right<5>(a)", [](Bits a, Bits, int) { return a >> 5; });
  bits("shift_right<bits - 1>(a)", [](Bits a, Bits, int) { return a >> last; });
  bits("shift_right_arithmetic<0>(a)", [](Bits a, Bits, int) { return a; });
  bits("shift_right_arithmetic<5>(a)", [=](Bits a, Bits, int) { return arithmetic(a, 5); });
  bits("shift_right_arithmetic<bits - 1>(a)",
       [=](Bits a, Bits, int) { return arithmetic(a, last); });
  bits("shift_left(a, k)", [](Bits a, Bits, int k) { return a << k; });
  bits("shift_right(a, k)", [](Bits a, Bits, int k) { return a >> k; });
  bits("shift_right_arithmetic(a, k)", [=](Bits a, Bits, int k) { return arithmetic(a, k); });
  bits("V::constant(-3)", [](Bits, Bits, int) { return static_cast<Bits>(-3); });
  const int half = lanes / 2;
  models["combine(sum_halves(a), sum_halves(b))"] = {
      false, [=](const O& o, int i) {
        const Bits* from = i < half ? o.a : o.b;
        return static_cast<Bits>(from[i % half] + from[i % half + half]);
      }};
}

template <class T>
LaneModels<T> lane_models(const Level& level, int lanes) {
  LaneModels<T> models;
  add_moves<T>(models, lanes);
  if constexpr (std::is_integral_v<T>) {
    add_integer_arithmetic<T>(models, lanes);
  } else {
    add_float_bits<T>(models);
    add_float_arithmetic<T>(models, lanes, level.fused);
  }
  return models;
}

// k counts lanes, or the bits of a shift.
template <class T>
int last_k(const char* name, int lanes) {
  return std::strncmp(name, "shift", 5) == 0 ? bits_of_lane<T> - 1 : lanes;
}

template <class T>
void check_lanewise(const Level& level, const Type& type) {
  const auto models = lane_models<T>(level, type.lanes);
  for (int n = 0; n < type.lanewise.count; n++) {
    const Case& tested = type.lanewise.first[n];
    ASSERT_TRUE(models.count(tested.name)) << "no model of " << tested.name;
    const auto& model = models.at(tested.name);
    for_all_operands<T>(type.lanes, last_k<T>(tested.name, type.lanes), [&](Operands<T>& o) {
      o.run(tested);
      for (int i = 0; i < type.lanes; i++) {
        const auto expected = model.lane(o, i);
        if (o.out[i] == expected) continue;
        if (model.arithmetic && is_nan<T>(expected) && is_nan<T>(o.out[i])) continue;
        FAIL() << type.name << ": " << tested.name << ", lane " << i << ": " << shown<T>(o.out[i])
               << ", not " << shown<T>(expected) << "; a " << shown<T>(o.a[i]) << ", b "
               << shown<T>(o.b[i]) << ", c " << shown<T>(o.c[i]) << ", k " << o.k;
      }
    });
  }
}

// Bits of the lanes for which the condition holds.
template <class Condition>
int lanes_where(int lanes, const Condition& condition) {
  int bits = 0;
  for (int i = 0; i < lanes; i++) bits |= condition(i) ? 1 << i : 0;
  return bits;
}

template <class T>
std::map<std::string, std::function<int(const Operands<T>&)>> mask_models(int lanes) {
  using O = Operands<T>;
  std::map<std::string, std::function<int(const O&)>> models;
  const auto compared = [&](const char* name, auto condition) {
    models[name] = [=](const O& o) {
      return lanes_where(lanes, [&](int i) {
        return condition(number<T>(o.a[i]), number<T>(o.b[i]), number<T>(o.c[i]));
      });
    };
  };
  const int every = (1 << lanes) - 1;
  compared("to_bits(a == b)", [](T a, T b, T) { return a == b; });
  compared("equal_lanes(a, b)", [](T a, T b, T) { return a == b; });
  compared("to_bits(a != b)", [](T a, T b, T) { return a != b; });
  compared("to_bits(a < b)", [](T a, T b, T) { return a < b; });
  compared("to_bits(a <= b)", [](T a, T b, T) { return a <= b; });
  compared("to_bits(a > b)", [](T a, T b, T) { return a > b; });
  compared("to_bits(a >= b)", [](T a, T b, T) { return a >= b; });
  compared("to_bits((a < b) & (b < c))", [](T a, T b, T c) { return a < b && b < c; });
  compared("to_bits((a < b) | (b < c))", [](T a, T b, T c) { return a < b || b < c; });
  compared("to_bits((a < b) ^ (b < c))", [](T a, T b, T c) { return (a < b) != (b < c); });
  compared("to_bits(~(a < b))", [](T a, T b, T) { return !(a < b); });
  compared("to_bits(and_not(a < b, b < c))", [](T a, T b, T c) { return a < b && !(b < c); });
  compared("to_bits(unordered(a, b))", [](T a, T b, T) { return a != a || b != b; });
  compared("nan_lanes(a)", [](T a, T, T) { return a != a; });
  const auto less = models["to_bits(a < b)"];
  models["any(a < b)"] = [=](const O& o) { return less(o) != 0; };
  models["all(a < b)"] = [=](const O& o) { return less(o) == every; };
  models["none(a < b)"] = [=](const O& o) { return less(o) == 0; };
  models["to_bits(V::Mask::first(k))"] = [](const O& o) { return (1 << o.k) - 1; };
  return models;
}

template <class T>
void check_masks(const Type& type) {
  const auto models = mask_models<T>(type.lanes);
  for (int n = 0; n < type.masks.count; n++) {
    const Case& tested = type.masks.first[n];
    ASSERT_TRUE(models.count(tested.name)) << "no model of " << tested.name;
    const auto& model = models.at(tested.name);
    for_all_operands<T>(type.lanes, type.lanes, [&](Operands<T>& o) {
      o.run(tested);
      int bits;
      std::memcpy(&bits, o.out, sizeof bits);
      EXPECT_EQ(bits, model(o)) << type.name << ": " << tested.name
                                << ", lane 0: " << shown<T>(o.a[0]) << ", " << shown<T>(o.b[0])
                                << "; k " << o.k;
    });
  }
}

// The upper half and the lower half, until one lane is left.
template <class T>
BitsOf<T> sum_by_halves(const Operands<T>& o, int lanes) {
  BitsOf<T> sums[Operands<T>::most];
  std::copy(o.a, o.a + lanes, sums);
  while (lanes > 1) {
    lanes /= 2;
    for (int i = 0; i < lanes; i++) {
      if constexpr (std::is_integral_v<T>) {
        sums[i] += sums[lanes + i];
      } else {
        sums[i] = bit_cast<BitsOf<T>>(T(number<T>(sums[i]) + number<T>(sums[lanes + i])));
      }
    }
  }
  return sums[0];
}

template <class T>
void check_scalars(const Type& type) {
  const auto run = [&](const char* name, Operands<T>& o) {
    for (int n = 0; n < type.scalars.count; n++) {
      if (std::strcmp(type.scalars.first[n].name, name) == 0) o.run(type.scalars.first[n]);
    }
    return o.out[0];
  };
  if (type.scalars.count == 0) return;
  ASSERT_EQ(type.scalars.count, 4);
  for_all_operands<T>(type.lanes, 0, [&](Operands<T>& o) {
    const auto expected = sum_by_halves(o, type.lanes);
    const auto sum = run("sum_lanes(a)", o);
    EXPECT_TRUE(sum == expected || (is_nan<T>(sum) && is_nan<T>(expected)))
        << type.name << ": " << shown<T>(sum) << ", not " << shown<T>(expected);
    EXPECT_EQ(run("first_lane(a)", o), o.a[0]) << type.name;

    if (std::any_of(o.a, o.a + type.lanes, is_nan<T>)) return;
    const auto less = [](BitsOf<T> x, BitsOf<T> y) { return number<T>(x) < number<T>(y); };
    const auto greatest = *std::max_element(o.a, o.a + type.lanes, less);
    const auto least = *std::min_element(o.a, o.a + type.lanes, less);
    EXPECT_EQ(number<T>(run("max_lanes(a)", o)), number<T>(greatest)) << type.name;
    EXPECT_EQ(number<T>(run("min_lanes(a)", o)), number<T>(least)) << type.name;
  });
}

class Operations : public EachLevel {
 protected:
  template <class Check>
  void for_each_type(const Check& check) {
    for (int n = 0; n < level().type_count; n++) {
      const Type& type = level().types[n];
      with_element(type.kind, [&](auto element) { check(element, type); });
    }
  }
};

TEST_P(Operations, GiveTheirDefinitionInEveryLane) {
  for_each_type(
      [&](auto element, const Type& type) { check_lanewise<decltype(element)>(level(), type); });
}

TEST_P(Operations, CompareAsPlainNumbersDo) {
  for_each_type([](auto element, const Type& type) { check_masks<decltype(element)>(type); });
}

TEST_P(Operations, ReduceByHalves) {
  for_each_type([](auto element, const Type& type) { check_scalars<decltype(element)>(type); });
}

INSTANTIATE_TEST_SUITE_P(Level, Operations, testing::ValuesIn(all_levels()), name_of_level);

}  // namespace
}  // namespace simd_test
