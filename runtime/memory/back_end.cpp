#include "runtime/memory/back_end.h"

#include <cstring>

#include "runtime/memory/high_bandwidth.h"
#include "runtime/memory/memory.h"

namespace qsl::memory {

BackEnd back_end = {};
platform::Allocator bound_allocator = {};

namespace {

// The library's symbol holds a pointer to the function.
template <typename Function>
bool fetch(platform::Module* module, const char* symbol, Function* function) {
  void* const holder = platform::module_symbol(module, symbol);
  if (holder == nullptr) return false;
  std::memcpy(function, holder, sizeof *function);
  return *function != nullptr;
}

bool same(const platform::Allocator& a, const platform::Allocator& b) {
  return a.malloc == b.malloc && a.calloc == b.calloc && a.realloc == b.realloc && a.free == b.free;
}

InnerHeader* header_of(void* block) { return static_cast<InnerHeader*>(block) - 1; }

}  // namespace

platform::Allocator find_allocator() {
  platform::Module* module = platform::module_load_any(platform::kAllocatorModuleNames);
  if (module == nullptr) return platform::c_allocator();
  platform::Allocator found = {};
  const bool complete = fetch(module, "a_malloc_dll", &found.malloc) &&
                        fetch(module, "a_calloc_dll", &found.calloc) &&
                        fetch(module, "a_realloc_dll", &found.realloc) &&
                        fetch(module, "a_free_dll", &found.free);
  // A library in use stays loaded, whoever else lets go of it: its blocks may outlive everything
  // here.
  if (complete) return found;
  platform::module_free(module);
  return platform::c_allocator();
}

void set_back_end() {
  if (same(bound_allocator, platform::c_allocator())) {
    back_end = {internal_malloc, internal_realloc, internal_free};
  } else {
    back_end = {bound_allocator.malloc, bound_allocator.realloc, bound_allocator.free};
  }
}

void* internal_malloc(std::size_t size) {
  const std::size_t bytes = size + sizeof(InnerHeader);
  if (bytes < size) return nullptr;
  std::uint32_t page = kSmallPage;
  void* block = allocate_high_bandwidth(bytes, &page);
  const bool is_hbw = block != nullptr;
  if (!is_hbw) {
    page = kSmallPage;
    block = bound_allocator.malloc(bytes);
    if (block == nullptr) return nullptr;
  }
  InnerHeader* header = static_cast<InnerHeader*>(block);
  *header = {block, is_hbw ? 1u : 0u, bytes, page};
  return header + 1;
}

void internal_free(void* block) {
  if (block == nullptr) return;
  InnerHeader* header = header_of(block);
  if (header->self == nullptr) return;
  if (header->is_hbw == 1) {
    free_high_bandwidth(header->self, header->bytes);
  } else {
    bound_allocator.free(header->self);
  }
}

void* internal_realloc(void* block, std::size_t size) {
  if (block == nullptr) return internal_malloc(size);
  const std::size_t bytes = size + sizeof(InnerHeader);
  if (bytes < size) return nullptr;
  InnerHeader* header = header_of(block);
  if (header->self == nullptr) return nullptr;
  if (header->is_hbw == 1) {
    void* moved = internal_malloc(size);
    if (moved == nullptr) return nullptr;
    const std::size_t old_size = header->bytes - sizeof(InnerHeader);
    std::memcpy(moved, block, old_size < size ? old_size : size);
    internal_free(block);
    return moved;
  }
  void* moved = bound_allocator.realloc(header->self, bytes);
  if (moved == nullptr) return nullptr;
  header = static_cast<InnerHeader*>(moved);
  *header = {moved, 0, bytes, kSmallPage};
  return header + 1;
}

}  // namespace qsl::memory

// No lock: at load nobody else is here, and later the set-up holds its own.
extern "C" void qsl_mm_bind_backend() {
  namespace memory = qsl::memory;
  if (memory::bound_allocator.malloc == nullptr) memory::bound_allocator = memory::find_allocator();
}
