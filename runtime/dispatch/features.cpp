#include "runtime/dispatch/features.h"

#include <cpuid.h>

extern "C" {
alignas(8) volatile std::uint64_t qsl_cpu_features = 0;
}

namespace qsl {
namespace {

enum class Leaf { leaf1_ecx, leaf1_edx, leaf7_ebx, leaf7_ecx, leaf7_edx, ext1_ecx };

// What besides the CPUID bit must hold: the operating system saves the registers.
enum class State { any, avx, avx512, mpx };

// FXSAVE gates the rows that would need the SSE state: all but these.
enum class Gate { none, fxsave };

struct FeatureRow {
  int bit;  // of the 64-bit word
  Leaf leaf;
  std::uint32_t mask;
  State state;
  Gate gate;
};

constexpr std::uint32_t bit(int n) { return std::uint32_t{1} << n; }

constexpr FeatureRow kRows[] = {
    {1, Leaf::leaf1_edx, bit(0), State::any, Gate::none},            // FPU
    {2, Leaf::leaf1_edx, bit(15), State::any, Gate::none},           // CMOV
    {3, Leaf::leaf1_edx, bit(23), State::any, Gate::none},           // MMX
    {4, Leaf::leaf1_edx, bit(24), State::any, Gate::none},           // FXSAVE
    {5, Leaf::leaf1_edx, bit(25), State::any, Gate::fxsave},         // SSE
    {6, Leaf::leaf1_edx, bit(26), State::any, Gate::fxsave},         // SSE2
    {7, Leaf::leaf1_ecx, bit(0), State::any, Gate::fxsave},          // SSE3
    {8, Leaf::leaf1_ecx, bit(9), State::any, Gate::fxsave},          // SSSE3
    {9, Leaf::leaf1_ecx, bit(19), State::any, Gate::fxsave},         // SSE4.1
    {10, Leaf::leaf1_ecx, bit(20), State::any, Gate::fxsave},        // SSE4.2
    {11, Leaf::leaf1_ecx, bit(22), State::any, Gate::fxsave},        // MOVBE
    {12, Leaf::leaf1_ecx, bit(23), State::any, Gate::fxsave},        // POPCNT
    {13, Leaf::leaf1_ecx, bit(1), State::any, Gate::fxsave},         // PCLMULQDQ
    {14, Leaf::leaf1_ecx, bit(25), State::any, Gate::fxsave},        // AES
    {15, Leaf::leaf1_ecx, bit(29), State::avx, Gate::none},          // F16C
    {16, Leaf::leaf1_ecx, bit(28), State::avx, Gate::none},          // AVX
    {17, Leaf::leaf1_ecx, bit(30), State::any, Gate::none},          // RDRAND
    {18, Leaf::leaf1_ecx, bit(12), State::avx, Gate::none},          // FMA
    {19, Leaf::leaf7_ebx, bit(3) | bit(8), State::any, Gate::none},  // BMI1 and BMI2
    {20, Leaf::ext1_ecx, bit(5), State::any, Gate::none},            // LZCNT
    {21, Leaf::leaf7_ebx, bit(4), State::any, Gate::none},           // HLE
    {22, Leaf::leaf7_ebx, bit(11), State::any, Gate::none},          // RTM
    {23, Leaf::leaf7_ebx, bit(5), State::avx, Gate::none},           // AVX2
    {24, Leaf::leaf7_ebx, bit(17), State::avx512, Gate::none},       // AVX512DQ
    {27, Leaf::leaf7_ebx, bit(16), State::avx512, Gate::none},       // AVX512F
    {28, Leaf::leaf7_ebx, bit(19), State::any, Gate::none},          // ADX
    {29, Leaf::leaf7_ebx, bit(18), State::any, Gate::none},          // RDSEED
    {30, Leaf::leaf7_ebx, bit(21), State::avx512, Gate::none},       // AVX512IFMA
    // Bit 31 is the display model, below.
    {32, Leaf::leaf7_ebx, bit(27), State::avx512, Gate::fxsave},  // AVX512ER
    {33, Leaf::leaf7_ebx, bit(26), State::avx512, Gate::fxsave},  // AVX512PF
    {34, Leaf::leaf7_ebx, bit(28), State::avx512, Gate::fxsave},  // AVX512CD
    {35, Leaf::leaf7_ebx, bit(29), State::any, Gate::fxsave},     // SHA
    {36, Leaf::leaf7_ebx, bit(14), State::mpx, Gate::fxsave},     // MPX
    {37, Leaf::leaf7_ebx, bit(30), State::avx512, Gate::fxsave},  // AVX512BW
    {38, Leaf::leaf7_ebx, bit(31), State::avx512, Gate::fxsave},  // AVX512VL
    {39, Leaf::leaf7_ecx, bit(1), State::avx512, Gate::fxsave},   // AVX512VBMI
    {40, Leaf::leaf7_edx, bit(3), State::avx512, Gate::fxsave},   // AVX512 4FMAPS
    {41, Leaf::leaf7_edx, bit(2), State::avx512, Gate::fxsave},   // AVX512 4VNNIW
    {42, Leaf::leaf7_ecx, bit(14), State::avx512, Gate::fxsave},  // AVX512 VPOPCNTDQ
};

constexpr std::uint32_t kOsxsave = bit(27);  // leaf 1 ECX
constexpr std::uint32_t kFxsave = bit(24);   // leaf 1 EDX

std::uint32_t leaf_value(const CpuidLeaves& leaves, Leaf leaf) {
  switch (leaf) {
    case Leaf::leaf1_ecx:
      return leaves.leaf1_ecx;
    case Leaf::leaf1_edx:
      return leaves.leaf1_edx;
    case Leaf::leaf7_ebx:
      return leaves.leaf7_ebx;
    case Leaf::leaf7_ecx:
      return leaves.leaf7_ecx;
    case Leaf::leaf7_edx:
      return leaves.leaf7_edx;
    case Leaf::ext1_ecx:
      return leaves.ext1_ecx;
  }
  return 0;
}

bool state_enabled(const CpuidLeaves& leaves, State state) {
  const bool avx = (leaves.leaf1_ecx & kOsxsave) != 0 && (leaves.xcr0 & 6) == 6;
  switch (state) {
    case State::any:
      return true;
    case State::avx:
      return avx;
    case State::avx512:
      return avx && (leaves.xcr0 & 0xe0) == 0xe0;
    case State::mpx:
      return (leaves.xcr0 & 0x18) == 0x18;
  }
  return false;
}

// In-order low-power models, by display model: extended model in the high nibble.
bool in_order_model(std::uint32_t leaf1_eax) {
  const std::uint32_t model = ((leaf1_eax >> 12) & 0xf0) | ((leaf1_eax >> 4) & 0xf);
  return model == 0x1c || model == 0x26 || model == 0x27;
}

std::uint32_t read_xcr0() {
  std::uint32_t low, high;
  asm volatile(".byte 0x0f, 0x01, 0xd0" : "=a"(low), "=d"(high) : "c"(0));  // xgetbv
  return low;
}

// The word once it is filled. The two halves are read one after the other: the 64-bit store is
// atomic and happens once, so a non-zero low half means that the high half is there too.
std::uint64_t filled_word() {
  const volatile auto* halves = reinterpret_cast<const volatile std::uint32_t*>(&qsl_cpu_features);
  const std::uint32_t low = __atomic_load_n(&halves[0], __ATOMIC_ACQUIRE);
  const std::uint32_t high = __atomic_load_n(&halves[1], __ATOMIC_RELAXED);
  return (std::uint64_t{high} << 32) | low;
}

// The first of racing writers stays.
void fill_word() {
  const std::uint64_t word = feature_word(read_cpuid_leaves());
  __sync_val_compare_and_swap(&qsl_cpu_features, std::uint64_t{0}, word);
}

}  // namespace

CpuidLeaves read_cpuid_leaves() {
  CpuidLeaves leaves = {};
  std::uint32_t eax, ebx, ecx, edx;
  __cpuid(0, leaves.max_leaf, ebx, ecx, edx);
  __cpuid(1, leaves.leaf1_eax, ebx, leaves.leaf1_ecx, leaves.leaf1_edx);
  // These two are read without asking for the highest leaf first: a processor that lacks them has
  // none of their features' companions either.
  __cpuid_count(7, 0, eax, leaves.leaf7_ebx, leaves.leaf7_ecx, leaves.leaf7_edx);
  __cpuid(0x80000001, eax, ebx, leaves.ext1_ecx, edx);
  if ((leaves.leaf1_ecx & kOsxsave) != 0) leaves.xcr0 = read_xcr0();
  return leaves;
}

std::uint64_t feature_word(const CpuidLeaves& leaves) {
  if (leaves.max_leaf == 0) return 1;
  const bool fxsave = (leaves.leaf1_edx & kFxsave) != 0;
  std::uint64_t word = 1;
  for (const FeatureRow& row : kRows) {
    if (row.gate == Gate::fxsave && !fxsave) continue;
    if ((leaf_value(leaves, row.leaf) & row.mask) != row.mask) continue;
    if (!state_enabled(leaves, row.state)) continue;
    word |= std::uint64_t{1} << row.bit;
  }
  if (in_order_model(leaves.leaf1_eax)) word |= std::uint64_t{1} << 31;
  return word;
}

bool has_features(std::uint32_t low_mask, std::uint32_t high_mask) {
  std::uint64_t word = filled_word();
  if (word == 0) {
    fill_word();
    word = filled_word();
  }
  const auto low = static_cast<std::uint32_t>(word);
  const auto high = static_cast<std::uint32_t>(word >> 32);
  return (low & low_mask) == low_mask && (high & high_mask) == high_mask;
}

}  // namespace qsl
