// The wrapper of a solver: the reporter is there, the call is timed in verbose mode and has its
// line, also one that its checks turn down.
//
// A call has run(), which returns info, and print(timed, info).
#pragma once

#include "blas/checks.h"
#include "runtime/verbose/wrapper.h"

namespace qsl::lapack {

inline const void* address(const void* p) { return p; }

template <class Call>
[[gnu::noinline, gnu::cold]] int verbose_run(VerboseGate* gate, const Call& call, bool has_info) {
  VerboseCall timed(gate);
  const int info = call.run();
  // As for every integer, a null pointer is shown as 0.
  call.print(timed, has_info ? info : 0);
  return info;
}

template <class Call>
void wrapped(VerboseGate* gate, const Call& call, int* info) {
  blas::install_reporter();
  const int result = gate->is_off() ? call.run() : verbose_run(gate, call, info != nullptr);
  if (info != nullptr) *info = result;
}

}  // namespace qsl::lapack
