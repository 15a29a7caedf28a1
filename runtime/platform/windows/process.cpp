#include "runtime/platform/platform.h"
#include "runtime/platform/windows/late_crt.h"
#include "runtime/platform/windows/windows_api.h"

namespace qsl::platform {

void yield() { SwitchToThread(); }

void terminate_process(int code) { TerminateProcess(GetCurrentProcess(), static_cast<UINT>(code)); }

bool at_fork(bool (*)(), void (*)(), void (*)()) { return true; }

std::size_t environment(const char* name, char* buffer, std::size_t size) {
  return GetEnvironmentVariableA(name, buffer, static_cast<DWORD>(size));
}

bool performance_counter(std::uint64_t* ticks) {
  LARGE_INTEGER value;
  if (!QueryPerformanceCounter(&value)) return false;
  *ticks = static_cast<std::uint64_t>(value.QuadPart);
  return true;
}

bool performance_frequency(std::uint64_t* ticks_per_second) {
  LARGE_INTEGER value;
  if (!QueryPerformanceFrequency(&value)) return false;
  *ticks_per_second = static_cast<std::uint64_t>(value.QuadPart);
  return true;
}

// Milliseconds, as the C runtime's clock counts them.
std::uint32_t coarse_clock() { return GetTickCount(); }
const std::uint32_t kMeasuredTicks = 100;

namespace {

// The allocator of last resort: without a C runtime the process heap serves.
void* heap_malloc(std::size_t size) { return HeapAlloc(GetProcessHeap(), 0, size); }

void* heap_calloc(std::size_t count, std::size_t size) {
  std::size_t total;
  if (__builtin_mul_overflow(count, size, &total)) return nullptr;
  return HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, total);
}

void heap_free(void* p) {
  if (p != nullptr) HeapFree(GetProcessHeap(), 0, p);
}

void* heap_realloc(void* p, std::size_t size) {
  if (p == nullptr) return heap_malloc(size);
  return HeapReAlloc(GetProcessHeap(), 0, p, size);
}

template <typename Function>
bool bind(Module* module, const char* name, Function* function) {
  *function = reinterpret_cast<Function>(module_symbol(module, name));
  return *function != nullptr;
}

}  // namespace

Allocator c_allocator() {
  Allocator crt = {};
  Module* module = late_crt_module();
  if (module != nullptr && bind(module, "malloc", &crt.malloc) &&
      bind(module, "calloc", &crt.calloc) && bind(module, "realloc", &crt.realloc) &&
      bind(module, "free", &crt.free)) {
    return crt;
  }
  return {heap_malloc, heap_calloc, heap_realloc, heap_free};
}

}  // namespace qsl::platform
