// The wrapper of a solver: the reporter is there, the call is timed in verbose mode and has its
// line, also one that its checks turn down.
//
// A call has run(), which returns info, and print(timed, info).
#pragma once

#include "runtime/messages/messages.h"
#include "runtime/verbose/wrapper.h"

namespace qsl::lapack {

inline const void* address(const void* p) { return p; }

inline void store_info(int* info, int value) {
  if (info != nullptr) *info = value;
}

template <class Call>
[[gnu::noinline, gnu::cold]] int verbose_run(VerboseGate* gate, const Call& call) {
  VerboseCall timed(gate);
  const int info = call.run();
  call.print(timed, info);
  return info;
}

template <class Call>
int wrapped(VerboseGate* gate, const Call& call) {
  qsl_xerbla_set_default(qsl_xerbla_print);
  return gate->is_off() ? call.run() : verbose_run(gate, call);
}

}  // namespace qsl::lapack
