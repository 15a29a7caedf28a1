// The bound of a matrix product on this machine: registers alone, no memory.
#pragma once

namespace qsl_bench {

// Fused multiply-adds and their operations in a pass, on the widest registers that the processor
// has; 0 operations: it has no fused multiply-add.
void run_bound(int passes);
int bound_flops();

}  // namespace qsl_bench
