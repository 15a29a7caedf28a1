#include "benchmarks/bound.h"

namespace qsl_bench {
namespace {

bool has_512_bits() { return __builtin_cpu_supports("avx512f"); }
bool has_256_bits() { return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma"); }

}  // namespace

// Six chains of fused multiply-adds: of eight registers, a tile keeps two for its operands. Each
// chain waits for its own last sum, and nothing is loaded or stored. (v: ymm or zmm.)
// clang-format off
#define QSL_BENCH_CHAINS(v, clear)                                                                \
  asm volatile(                                                                                   \
      "vbroadcastsd %[factor], %%" v "6 \n"                                                       \
      "vmovapd %%" v "6, %%" v "7 \n"                                                             \
      ".irp i, 0, 1, 2, 3, 4, 5 \n"                                                               \
      clear " %%" v "\\i, %%" v "\\i, %%" v "\\i \n"                                              \
      ".endr \n"                                                                                  \
      ".p2align 5 \n"                                                                             \
      "1: \n"                                                                                     \
      ".rept 4 \n"                                                                                \
      ".irp i, 0, 1, 2, 3, 4, 5 \n"                                                               \
      "vfmadd231pd %%" v "6, %%" v "7, %%" v "\\i \n"                                             \
      ".endr \n"                                                                                  \
      ".endr \n"                                                                                  \
      "decl %[passes] \n"                                                                         \
      "jnz 1b \n"                                                                                 \
      "vzeroupper"                                                                                \
      : [passes] "+r"(passes)                                                                     \
      : [factor] "m"(factor)                                                                      \
      : "cc", "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7")
// clang-format on

void run_bound(int passes) {
  const double factor = 0x1p-20;
  if (has_512_bits()) {
    QSL_BENCH_CHAINS("zmm", "vpxord");
  } else {
    QSL_BENCH_CHAINS("ymm", "vxorpd");
  }
}

int bound_flops() {
  constexpr int multiply_adds = 6 * 4;
  if (has_512_bits()) return multiply_adds * 2 * 8;
  return has_256_bits() ? multiply_adds * 2 * 4 : 0;
}

}  // namespace qsl_bench
