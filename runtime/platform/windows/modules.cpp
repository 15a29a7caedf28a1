#include "runtime/messages/crt.h"
#include "runtime/platform/platform.h"
#include "runtime/platform/windows/windows_api.h"

namespace qsl::platform {

const char* const kTraceModuleNames[] = {"libittnotify.dll", nullptr};
const char* const kAllocatorModuleNames[] = {"libamalloc.dll", nullptr};
const char* const kMemkindModuleNames[] = {"memkind.dll", nullptr};
const char kName[] = "Win";

namespace {

HMODULE handle(Module* module) { return reinterpret_cast<HMODULE>(module); }

}  // namespace

Module* module_load(const char* name) { return reinterpret_cast<Module*>(LoadLibraryA(name)); }

Module* module_load_any(const char* const* names) {
  for (; *names != nullptr; ++names) {
    if (Module* module = module_load(*names)) return module;
  }
  return nullptr;
}

Module* module_load_wide(const char* name) {
  for (const char* p = name; *p != '\0'; ++p) {
    if (*p == '/' || *p == '\\') return nullptr;
  }
  wchar_t wide[MAX_PATH];
  if (MultiByteToWideChar(CP_ACP, 0, name, -1, wide, MAX_PATH) == 0) return nullptr;
  return reinterpret_cast<Module*>(LoadLibraryW(wide));
}

void* module_symbol(Module* module, const char* symbol) {
  return reinterpret_cast<void*>(GetProcAddress(handle(module), symbol));
}

void module_free(Module* module) {
  if (module != nullptr) FreeLibrary(handle(module));
}

// The catalog lies in a folder named by the thread's locale, relative to the current one.
Module* message_catalog_open() {
  char path[128];
  qsl_snprintf(path, sizeof path, "%lu/%s", static_cast<unsigned long>(GetThreadLocale()),
               "qsl_msg.dll");
  return module_load(path);
}

bool message_catalog_fetch(Module* catalog, int id, char* buffer, std::size_t size) {
  constexpr DWORD kFlags = FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_HMODULE;
  constexpr DWORD kFirstMessage = 0x80000000;
  constexpr DWORD kEnglish = 0x409;  // whatever the locale of the path
  constexpr DWORD kMinimumSize = 512;
  char* text = nullptr;
  const DWORD length =
      FormatMessageA(kFlags, handle(catalog), kFirstMessage + static_cast<DWORD>(id), kEnglish,
                     reinterpret_cast<LPSTR>(&text), kMinimumSize, nullptr);
  bool usable = length >= 2 && text[length - 2] == '\r' && text[length - 1] == '\n';
  if (usable) {
    std::size_t count = length - 2;
    if (count > size - 1) count = size - 1;
    for (std::size_t i = 0; i < count; ++i) buffer[i] = text[i];
    buffer[count] = '\0';
  }
  if (text != nullptr) LocalFree(text);
  return usable;
}

}  // namespace qsl::platform
