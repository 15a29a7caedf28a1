// The allocator under both layers: the C runtime's with an inner header, or a foreign one as it is.
#pragma once

#include <cstddef>
#include <cstdint>

#include "runtime/platform/platform.h"

namespace qsl::memory {

struct BackEnd {
  void* (*malloc)(std::size_t size);
  void* (*realloc)(void* block, std::size_t size);
  void (*free)(void* block);
};

// The table that everything allocates through.
extern BackEnd back_end;

// What was bound at load: the C runtime's allocator, or that of the optional allocator library.
extern platform::Allocator bound_allocator;

// The optional allocator library's functions, or the C runtime's.
platform::Allocator find_allocator();

// Chooses the table for the bound allocator.
void set_back_end();

// First 16 bytes of a block of the internal back end.
struct InnerHeader {
  void* self;
  std::uint32_t is_hbw;
  std::uint32_t bytes;  // these 16 included
  std::uint32_t page;
};
static_assert(sizeof(InnerHeader) == 16);

// The internal back end.
void* internal_malloc(std::size_t size);
void* internal_realloc(void* block, std::size_t size);
void internal_free(void* block);

}  // namespace qsl::memory
