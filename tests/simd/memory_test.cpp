// Loads, stores and gathers: what they read and write, and that they touch nothing else.
#include "tests/level1/guard_pages.h"
#include "tests/simd/support.h"

namespace simd_test {
namespace {

using level1_test::GuardPages;

class Memory : public EachLevel {
 protected:
  static const Case* find(const Cases& cases, const char* name) {
    for (int n = 0; n < cases.count; n++) {
      if (std::strcmp(cases.first[n].name, name) == 0) return &cases.first[n];
    }
    return nullptr;
  }

  // check(element of the type, type) for the types that have all operations.
  template <class Check>
  void for_each_whole_type(const Check& check) {
    for (int n = 0; n < level().type_count; n++) {
      const Type& type = level().types[n];
      if (type.scalars.count == 0) continue;
      SCOPED_TRACE(type.name);
      with_element(type.kind, [&](auto element) { check(element, type); });
    }
  }

  // Element i of the arrays; a signalling NaN among them.
  template <class T>
  static BitsOf<T> element(int i) {
    if (i == 1) return static_cast<BitsOf<T>>(special_numbers<T>().back());
    return static_cast<BitsOf<T>>(0x9e3779b97f4a7c15ull * static_cast<unsigned>(i + 1));
  }
  template <class T>
  static void fill(void* p, int count) {
    for (int i = 0; i < count; i++) {
      const auto bits = element<T>(i);
      std::memcpy(static_cast<char*>(p) + i * sizeof bits, &bits, sizeof bits);
    }
  }
  template <class T>
  static BitsOf<T> at(const void* p, int i) {
    BitsOf<T> bits;
    std::memcpy(&bits, static_cast<const char*>(p) + i * sizeof bits, sizeof bits);
    return bits;
  }

  GuardPages pages_{4096};
};

// A load of the first k elements, which lie before or behind an unmapped page.
template <class T, class Places>
void check_load(const Case& load, int lanes, int k, const Places& places) {
  places(static_cast<std::size_t>(k) * sizeof(T), [&](void* p, auto element, auto fill) {
    fill(p, k);
    Operands<T> o;
    std::memset(o.out, 0x55, sizeof o.out);
    load.run({p, nullptr, nullptr, o.out, k});
    for (int i = 0; i < lanes; i++) {
      EXPECT_EQ(o.out[i], i < k ? element(i) : 0) << load.name << ", k " << k << ", lane " << i;
    }
  });
}

TEST_P(Memory, FirstLanesAreLoadedAndNothingElseIsRead) {
  for_each_whole_type([&](auto t, const Type& type) {
    using T = decltype(t);
    const auto places = [&](std::size_t bytes, auto check) {
      for (const std::size_t slack : {0, 1, 4}) {
        for (void* p : {pages_.at_end(bytes, slack), pages_.at_start(slack)}) {
          check(
              p, [](int i) { return element<T>(i); }, fill<T>);
        }
      }
    };
    for (int k = 0; k <= type.lanes; k++) {
      check_load<T>(*find(type.loads, "V::load_first(p, k)"), type.lanes, k, places);
    }
    for (int k = 1; k < type.lanes; k++) {
      check_load<T>(*find(type.loads, "V::load_rest(p, k)"), type.lanes, k, places);
    }
    check_load<T>(*find(type.loads, "V::load(p)"), type.lanes, type.lanes, places);
  });
}

TEST_P(Memory, FirstLanesAreStoredAndNothingElseIsWritten) {
  for_each_whole_type([&](auto t, const Type& type) {
    using T = decltype(t);
    Operands<T> o;
    fill<T>(o.b, type.lanes);
    const auto check = [&](const char* name, int k) {
      const Case& store = *find(type.stores, name);
      const std::size_t bytes = k * sizeof(T);
      for (const std::size_t slack : {0, 1, 4, 160}) {
        for (const bool at_end : {true, false}) {
          auto* p = static_cast<unsigned char*>(at_end ? pages_.at_end(bytes, slack)
                                                       : pages_.at_start(slack));
          auto* page = static_cast<unsigned char*>(pages_.at_start(0));
          std::memset(page, 0x55, GuardPages::page);
          store.run({nullptr, o.b, nullptr, p, k});
          for (int i = 0; i < k; i++) EXPECT_EQ(at<T>(p, i), element<T>(i)) << name << ", k " << k;
          for (unsigned char* q = page; q < page + GuardPages::page; q++) {
            if (q == p) q += bytes;
            if (q == page + GuardPages::page) break;
            ASSERT_EQ(*q, 0x55) << name << ", k " << k << ": byte " << q - p;
          }
        }
      }
    };
    for (int k = 0; k <= type.lanes; k++) check("b.store_first(p, k)", k);
    for (int k = 1; k < type.lanes; k++) check("b.store_rest(p, k)", k);
    check("b.store(p)", type.lanes);
  });
}

TEST_P(Memory, AlignedLoadsAndStoresMoveAllLanes) {
  for_each_whole_type([&](auto t, const Type& type) {
    using T = decltype(t);
    Operands<T> o;
    fill<T>(o.a, type.lanes);
    find(type.loads, "V::load_aligned(p)")->run({o.a, nullptr, nullptr, o.b, 0});
    for (int i = 0; i < type.lanes; i++) EXPECT_EQ(o.b[i], element<T>(i));
    for (const char* name : {"b.store_aligned(p)", "b.store_streaming(p); end_streaming()"}) {
      std::memset(o.out, 0x55, sizeof o.out);
      find(type.stores, name)->run({nullptr, o.b, nullptr, o.out, 0});
      for (int i = 0; i < type.lanes; i++) EXPECT_EQ(o.out[i], element<T>(i)) << name;
    }
    find(type.loads, "V::zero()")->run({o.a, nullptr, nullptr, o.out, 0});
    for (int i = 0; i < type.lanes; i++) EXPECT_EQ(o.out[i], 0u);
  });
}

TEST_P(Memory, BroadcastsReadOneElementOrOnePair) {
  for_each_whole_type([&](auto t, const Type& type) {
    using T = decltype(t);
    Operands<T> o;
    const auto check = [&](const char* name, int count) {
      const Case* load = find(type.loads, name);
      if (load == nullptr) return;
      void* p = pages_.at_end(count * sizeof(T), 0);
      fill<T>(p, count);
      load->run({p, nullptr, nullptr, o.out, 0});
      for (int i = 0; i < type.lanes; i++) EXPECT_EQ(o.out[i], element<T>(i % count)) << name;
    };
    check("V::broadcast_from(p)", 1);
    check("V::broadcast_pair(p)", 2);
  });
}

TEST_P(Memory, GathersReadTheElementsOfTheirIndices) {
  for_each_whole_type([&](auto t, const Type& type) {
    using T = decltype(t);
    const Case* all = find(type.loads, "V::gather(p, indices)");
    if (all == nullptr) return;
    const Case* first = find(type.loads, "V::gather_first(p, indices, k)");
    const int count = static_cast<int>(GuardPages::page / sizeof(T));
    char* page = static_cast<char*>(pages_.at_start(0));
    fill<T>(page, count);
    const int middle = count / 2;
    const void* base = page + middle * sizeof(T);
    Operands<T> o;
    for (int k = 0; k <= type.lanes; k++) {
      // Both ends of the page are among them; lanes that are not gathered would be outside.
      std::int32_t indices[16];
      for (int i = 0; i < 16; i++) {
        indices[i] = i % 3 == 0 ? -middle + i / 3 : i % 3 == 1 ? count - 1 - middle - i : 7 * i;
        if (i >= k) indices[i] = i % 2 == 0 ? 0x10000000 : count - middle;
      }
      first->run({base, indices, nullptr, o.out, k});
      for (int i = 0; i < type.lanes; i++) {
        EXPECT_EQ(o.out[i], i < k ? element<T>(middle + indices[i]) : 0) << "k " << k;
      }
      if (k < type.lanes) continue;
      all->run({base, indices, nullptr, o.out, k});
      for (int i = 0; i < type.lanes; i++) EXPECT_EQ(o.out[i], element<T>(middle + indices[i]));
    }
    for (const int stride : {1, 3, -2, 0}) {
      find(type.loads, "V::gather(p, V::offsets(k))")->run({base, nullptr, nullptr, o.out, stride});
      for (int i = 0; i < type.lanes; i++) {
        EXPECT_EQ(o.out[i], element<T>(middle + i * stride)) << "stride " << stride;
      }
    }
  });
}

TEST_P(Memory, HalvesOfTwoDoublesMoveAlone) {
  for (int n = 0; n < level().type_count; n++) {
    const Type& type = level().types[n];
    const Case* halves = find(type.loads, "V::load_halves(p)");
    if (halves == nullptr) continue;
    using T = double;
    Operands<T> o;
    void* p = pages_.at_end(2 * sizeof(T), 0);
    fill<T>(p, 2);
    for (const Case* load : {halves, find(type.loads, "V::gather(p, p + 1)")}) {
      load->run({p, nullptr, nullptr, o.out, 0});
      EXPECT_EQ(o.out[0], element<T>(0)) << load->name;
      EXPECT_EQ(o.out[1], element<T>(1)) << load->name;
    }
    find(type.loads, "V::load_upper(p)")->run({pages_.at_end(8, 0), nullptr, nullptr, o.out, 0});
    EXPECT_EQ(o.out[0], 0u);
    EXPECT_EQ(o.out[1], element<T>(1));
    fill<T>(o.b, 2);
    std::memset(p, 0x55, 16);
    find(type.stores, "b.store_halves(p)")->run({nullptr, o.b, nullptr, p, 0});
    EXPECT_EQ(at<T>(p, 0), element<T>(0));
    EXPECT_EQ(at<T>(p, 1), element<T>(1));
  }
}

INSTANTIATE_TEST_SUITE_P(Level, Memory, testing::ValuesIn(all_levels()), name_of_level);

}  // namespace
}  // namespace simd_test
