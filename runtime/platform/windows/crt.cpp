// The C runtime's formatted input and output, bound late by name: the library links no C runtime
// and takes the one that the process has.
//
// There are two families. The newer (family 2) has one entry a direction that takes a va_list and
// an options word; the older (family 1) has the plain functions, and its streams lie in an array.
#include "runtime/messages/crt.h"

#include <cstdint>

#include "runtime/platform/windows/late_crt.h"
#include "runtime/platform/windows/windows_api.h"

extern "C" {
int qsl_crt_family = -1;  // -1 not looked for yet, 0 none, 1 the older, 2 the newer
}

namespace {

using qsl::platform::Module;
using qsl::platform::module_symbol;

constexpr std::size_t kTruncate = static_cast<std::size_t>(-1);

const char* const kNewModules[] = {"APPCRT140.DLL", "APPCRT140D.DLL", "UCRTBASE.DLL",
                                   "UCRTBASED.DLL"};
const char* const kOldModules[] = {"MSVCR120.DLL", "MSVCR120D.DLL", "MSVCR110.DLL", "MSVCR110D.DLL",
                                   "MSVCR100.DLL", "MSVCR100D.DLL", "MSVCR90.DLL",  "MSVCR90D.DLL",
                                   "MSVCR80.DLL",  "MSVCR80D.DLL",  "MSVCRT.DLL",   "MSVCRTD.DLL"};

struct NewFamily {
  int (*vsscanf)(std::uint64_t, const char*, std::size_t, const char*, void*, std::va_list);
  int (*vfscanf)(std::uint64_t, QslStream*, const char*, void*, std::va_list);
  int (*vsnprintf_s)(std::uint64_t, char*, std::size_t, std::size_t, const char*, void*,
                     std::va_list);
  int (*vfprintf_s)(std::uint64_t, QslStream*, const char*, void*, std::va_list);
  QslStream* (*iob)(unsigned);
};

struct OldFamily {
  int (*sscanf)(const char*, const char*, ...);
  int (*fscanf)(QslStream*, const char*, ...);
  int (*vfprintf_s)(QslStream*, const char*, std::va_list);
  int (*vsnprintf_s)(char*, std::size_t, std::size_t, const char*, std::va_list);
  char* (*iob)();
};

NewFamily new_family;
OldFamily old_family;
int (*crt_fflush)(QslStream*);
QslStream* (*crt_fopen)(const char*, const char*);
int (*crt_fclose)(QslStream*);
Module* crt_module = nullptr;

template <typename Function>
bool bind(Module* module, const char* name, Function* function) {
  *function = reinterpret_cast<Function>(module_symbol(module, name));
  return *function != nullptr;
}

bool bind_new(Module* module) {
  return bind(module, "__stdio_common_vsscanf", &new_family.vsscanf) &&
         bind(module, "__stdio_common_vfscanf", &new_family.vfscanf) &&
         bind(module, "__stdio_common_vsnprintf_s", &new_family.vsnprintf_s) &&
         bind(module, "__stdio_common_vfprintf_s", &new_family.vfprintf_s) &&
         bind(module, "__acrt_iob_func", &new_family.iob) && bind(module, "fflush", &crt_fflush);
}

bool bind_old(Module* module) {
  return bind(module, "sscanf", &old_family.sscanf) && bind(module, "fscanf", &old_family.fscanf) &&
         bind(module, "vfprintf_s", &old_family.vfprintf_s) &&
         bind(module, "_vsnprintf_s", &old_family.vsnprintf_s) &&
         bind(module, "__iob_func", &old_family.iob) && bind(module, "fflush", &crt_fflush);
}

// A module that the process has already goes before one that would have to be loaded. Either way
// the reference is the library's own: a plug-in that brought the module may be unloaded.
template <std::size_t count>
Module* find_module(const char* const (&names)[count]) {
  for (const char* name : names) {
    HMODULE module = nullptr;
    if (GetModuleHandleExA(0, name, &module)) return reinterpret_cast<Module*>(module);
  }
  for (const char* name : names) {
    if (HMODULE module = LoadLibraryA(name)) return reinterpret_cast<Module*>(module);
  }
  return nullptr;
}

// The module of one family, kept when it has all that is needed.
template <std::size_t count>
bool take_family(const char* const (&names)[count], bool (*bind_family)(Module*)) {
  Module* module = find_module(names);
  if (module == nullptr) return false;
  if (!bind_family(module)) {
    qsl::platform::module_free(module);
    return false;
  }
  crt_module = module;
  bind(module, "fopen", &crt_fopen);
  bind(module, "fclose", &crt_fclose);
  return true;
}

int find_family() {
  if (take_family(kNewModules, bind_new)) return 2;
  return take_family(kOldModules, bind_old) ? 1 : 0;
}

volatile int family_lock = 0;

int family() {
  int value = __atomic_load_n(&qsl_crt_family, __ATOMIC_ACQUIRE);
  if (value != -1) return value;
  int expected = 0;
  while (!__atomic_compare_exchange_n(&family_lock, &expected, 1, false, __ATOMIC_ACQUIRE,
                                      __ATOMIC_RELAXED)) {
    expected = 0;
  }
  value = qsl_crt_family;
  if (value == -1) {
    value = find_family();
    __atomic_store_n(&qsl_crt_family, value, __ATOMIC_RELEASE);
  }
  __atomic_store_n(&family_lock, 0, __ATOMIC_RELEASE);
  return value;
}

QslStream* standard_output() {
  constexpr std::ptrdiff_t kSecondStream = 32;  // bytes: the array's element size
  return family() == 2 ? new_family.iob(1)
                       : reinterpret_cast<QslStream*>(old_family.iob() + kSecondStream);
}

int vfprintf_flushed(QslStream* stream, const char* format, std::va_list args) {
  const int count = family() == 2 ? new_family.vfprintf_s(0, stream, format, nullptr, args)
                                  : old_family.vfprintf_s(stream, format, args);
  crt_fflush(nullptr);
  return count;
}

int fprintf_flushed(QslStream* stream, const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  const int count = vfprintf_flushed(stream, format, args);
  va_end(args);
  return count;
}

}  // namespace

namespace qsl::platform {

Module* late_crt_module() { return family() != 0 ? crt_module : nullptr; }

}  // namespace qsl::platform

extern "C" {

int qsl_printf(const char* format, ...) {
  if (family() == 0) return -1;
  std::va_list args;
  va_start(args, format);
  const int count = vfprintf_flushed(standard_output(), format, args);
  va_end(args);
  return count;
}

int qsl_fprintf_text(QslStream* stream, const char* text) {
  if (family() == 0) return -1;
  return fprintf_flushed(stream, "%s", text);
}

int qsl_snprintf_count(char* buffer, std::size_t size, std::size_t count, const char* format,
                       std::va_list args) {
  if (size == 0) return -1;
  buffer[0] = '\0';
  // A limit that leaves no room for the zero would end the process; the buffer's own is meant.
  if (count >= size) count = kTruncate;
  switch (family()) {
    case 2:
      return new_family.vsnprintf_s(0, buffer, size, count, format, nullptr, args);
    case 1:
      return old_family.vsnprintf_s(buffer, size, count, format, args);
    default:
      return -1;
  }
}

int qsl_vsnprintf(char* buffer, std::size_t size, const char* format, std::va_list args) {
  return qsl_snprintf_count(buffer, size, kTruncate, format, args);
}

int qsl_snprintf(char* buffer, std::size_t size, const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  const int count = qsl_vsnprintf(buffer, size, format, args);
  va_end(args);
  return count;
}

int qsl_snprintf_capped(char* buffer, std::size_t size, std::size_t count, const char* format,
                        ...) {
  std::va_list args;
  va_start(args, format);
  const int written = qsl_snprintf_count(buffer, size, count, format, args);
  va_end(args);
  return written;
}

int qsl_sscanf(const char* text, const char* format, ...) {
  constexpr int kMaxItems = 4;
  std::va_list args;
  va_start(args, format);
  int count = 0;
  switch (family()) {
    case 2:
      count = new_family.vsscanf(0, text, static_cast<std::size_t>(-1), format, nullptr, args);
      break;
    case 1: {
      // The older family has no form with a va_list: the pointers are handed on one by one.
      void* items[kMaxItems] = {};
      int used = 0;
      for (const char* p = format; *p != '\0' && used < kMaxItems; ++p) {
        if (*p == '%') items[used++] = va_arg(args, void*);
      }
      count = old_family.sscanf(text, format, items[0], items[1], items[2], items[3]);
      break;
    }
    default:
      break;
  }
  va_end(args);
  return count;
}

QslStream* qsl_stream_open_append(const char* path) {
  return family() != 0 && crt_fopen != nullptr && crt_fclose != nullptr ? crt_fopen(path, "a")
                                                                        : nullptr;
}

void qsl_stream_close(QslStream* stream) { crt_fclose(stream); }
}
