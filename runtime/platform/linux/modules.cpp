#include <dlfcn.h>

#include <cstring>

#include "runtime/platform/platform.h"

namespace qsl::platform {

const char* const kTraceModuleNames[] = {"libittnotify.so", nullptr};
const char* const kAllocatorModuleNames[] = {"libamalloc.so", nullptr};
const char* const kMemkindModuleNames[] = {"libmemkind.so", "libmemkind.so.0", "memkind.so",
                                           nullptr};
const char kName[] = "Lnx";

Module* module_load(const char* name) {
  return static_cast<Module*>(dlopen(name, RTLD_NOW | RTLD_LOCAL));
}

Module* module_load_wide(const char* name) {
  return std::strchr(name, '/') == nullptr ? module_load(name) : nullptr;
}

Module* module_load_any(const char* const* names) {
  for (; *names != nullptr; ++names) {
    if (Module* module = module_load(*names)) return module;
  }
  return nullptr;
}

void* module_symbol(Module* module, const char* symbol) { return dlsym(module, symbol); }

void module_free(Module* module) {
  if (module != nullptr) dlclose(module);
}

// Message modules are a Windows format: here the built-in texts are the only ones.
Module* message_catalog_open() { return nullptr; }
bool message_catalog_fetch(Module*, int, char*, std::size_t) { return false; }

}  // namespace qsl::platform
