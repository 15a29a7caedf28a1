// The allocation calls as a table, for subsystems that are handed their allocator.
#pragma once

#include <cstddef>

struct qsl_memory_services {
  void* (*malloc)(std::size_t size, int alignment);  // QSL_malloc
  void* unused;
  void* (*allocate)(std::size_t size, int alignment);  // qsl_mm_allocate
  void (*free)(void* p);                               // QSL_free
  void (*deallocate)(void* p);                         // qsl_mm_deallocate
};

extern "C" {
extern const qsl_memory_services qsl_mm_services;
}
