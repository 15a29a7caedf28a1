#include "benchmarks/level3_functions.h"

namespace qsl_bench {

// Six chains of fused multiply-adds: of eight registers, a tile keeps two for its operands. Each
// chain waits for its own last sum, and nothing is loaded or stored.
void run_bound(int passes) {
  const double factor = 0x1p-20;
  asm volatile(
      "vbroadcastsd %[factor], %%ymm6\n\t"
      "vmovapd %%ymm6, %%ymm7\n\t"
      "vxorpd %%ymm0, %%ymm0, %%ymm0\n\t"
      "vxorpd %%ymm1, %%ymm1, %%ymm1\n\t"
      "vxorpd %%ymm2, %%ymm2, %%ymm2\n\t"
      "vxorpd %%ymm3, %%ymm3, %%ymm3\n\t"
      "vxorpd %%ymm4, %%ymm4, %%ymm4\n\t"
      "vxorpd %%ymm5, %%ymm5, %%ymm5\n\t"
      ".p2align 5\n"
      "1:\n\t"
      ".rept 4\n\t"
      "vfmadd231pd %%ymm6, %%ymm7, %%ymm0\n\t"
      "vfmadd231pd %%ymm6, %%ymm7, %%ymm1\n\t"
      "vfmadd231pd %%ymm6, %%ymm7, %%ymm2\n\t"
      "vfmadd231pd %%ymm6, %%ymm7, %%ymm3\n\t"
      "vfmadd231pd %%ymm6, %%ymm7, %%ymm4\n\t"
      "vfmadd231pd %%ymm6, %%ymm7, %%ymm5\n\t"
      ".endr\n\t"
      "decl %[passes]\n\t"
      "jnz 1b\n\t"
      "vzeroupper"
      : [passes] "+r"(passes)
      : [factor] "m"(factor)
      : "cc", "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7");
}

}  // namespace qsl_bench
