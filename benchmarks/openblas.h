// The peer that exports the library's own names: it is loaded, not linked.
#pragma once

#include <dlfcn.h>

#include <cstdio>

namespace qsl_bench {

inline void* open_openblas() {
  void* library = dlopen("libopenblas.so.0", RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) std::fprintf(stderr, "OpenBLAS is left out: %s\n", dlerror());
  return library;
}

// Sets a function pointer to the export of that name; null when there is none.
template <class Function>
void find(void* library, const char* name, Function*& function) {
  function = library == nullptr ? nullptr : reinterpret_cast<Function*>(dlsym(library, name));
}

}  // namespace qsl_bench
