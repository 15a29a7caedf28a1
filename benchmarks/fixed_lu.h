// What a user can do without this library: a factorisation without pivoting of one matrix of a
// fixed order, which the compiler unrolls and vectorises.
#pragma once

namespace qsl_bench {

// The loop of one order for a column-major matrix of complex numbers; null when there is none, or
// the processor has not the instructions that it is compiled for.
using FixedLu = void (*)(double* a);
FixedLu fixed_lu(int n);

}  // namespace qsl_bench
