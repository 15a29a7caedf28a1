// Stand-in for the optional allocator library: each symbol holds a pointer to a function.
// AMALLOC_WITHOUT_REALLOC leaves a symbol out, AMALLOC_NULL_FREE leaves a pointer null, and
// AMALLOC_C_RUNTIME hands out the C runtime's own functions.
#include <cstddef>
#include <cstdlib>

#ifdef _WIN32
#define EXPORT extern "C" __declspec(dllexport)
#else
#define EXPORT extern "C" __attribute__((visibility("default")))
#endif

EXPORT int amalloc_live;
int amalloc_live = 0;

namespace {

#ifdef AMALLOC_C_RUNTIME
constexpr auto own_malloc = std::malloc;
constexpr auto own_calloc = std::calloc;
constexpr auto own_realloc = std::realloc;
constexpr auto own_free = std::free;
#else
void* own_malloc(std::size_t size) {
  ++amalloc_live;
  return std::malloc(size);
}
void* own_calloc(std::size_t count, std::size_t size) {
  ++amalloc_live;
  return std::calloc(count, size);
}
[[maybe_unused]] void* own_realloc(void* block, std::size_t size) {
  return std::realloc(block, size);
}
[[maybe_unused]] void own_free(void* block) {
  --amalloc_live;
  std::free(block);
}
#endif

}  // namespace

#define HOLDER(name, type, value) \
  EXPORT type name;               \
  type name = value

using Malloc = void* (*)(std::size_t);
using Calloc = void* (*)(std::size_t, std::size_t);
using Realloc = void* (*)(void*, std::size_t);
using Free = void (*)(void*);

HOLDER(a_malloc_dll, Malloc, own_malloc);
HOLDER(a_calloc_dll, Calloc, own_calloc);
#ifndef AMALLOC_WITHOUT_REALLOC
HOLDER(a_realloc_dll, Realloc, own_realloc);
#endif
#ifdef AMALLOC_NULL_FREE
HOLDER(a_free_dll, Free, nullptr);
#else
HOLDER(a_free_dll, Free, own_free);
#endif
