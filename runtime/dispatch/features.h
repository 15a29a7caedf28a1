// The processor feature word, filled once from CPUID and XGETBV.
#pragma once

#include <cstdint>

// Named masks on the low half; bit 0 says that the word has been filled.
inline constexpr std::uint32_t QSL_FEAT_SSE2 = 0x41;
inline constexpr std::uint32_t QSL_FEAT_SSSE3 = 0x101;
inline constexpr std::uint32_t QSL_FEAT_SSE41 = 0x201;
inline constexpr std::uint32_t QSL_FEAT_SSE42 = 0x401;
inline constexpr std::uint32_t QSL_FEAT_AVX = 0x10001;
inline constexpr std::uint32_t QSL_FEAT_AVX2 = 0x9c2001;         // LZCNT, BMI, FMA, PCLMULQDQ too
inline constexpr std::uint32_t QSL_FEAT_AVX512 = 0x9000001;      // F and DQ
inline constexpr std::uint32_t QSL_FEAT_AVX512_MIC = 0x8000001;  // F
// What the last two also need in the high half.
inline constexpr std::uint32_t QSL_FEAT_HIGH_AVX512 = 0x60;   // BW and VL
inline constexpr std::uint32_t QSL_FEAT_HIGH_AVX512_MIC = 7;  // ER, PF and CD

extern "C" {
extern volatile std::uint64_t qsl_cpu_features;
}

namespace qsl {

// What CPUID and XGETBV answered; separate from the machine so that every row can be tested.
struct CpuidLeaves {
  std::uint32_t max_leaf;  // leaf 0 EAX
  std::uint32_t leaf1_eax, leaf1_ecx, leaf1_edx;
  std::uint32_t leaf7_ebx, leaf7_ecx, leaf7_edx;
  std::uint32_t ext1_ecx;  // leaf 0x80000001
  std::uint32_t xcr0;      // 0 without OSXSAVE
};

CpuidLeaves read_cpuid_leaves();
std::uint64_t feature_word(const CpuidLeaves& leaves);

// True when every bit of `low_mask` is set; fills the word on first use.
bool has_features(std::uint32_t low_mask, std::uint32_t high_mask = 0);

}  // namespace qsl
