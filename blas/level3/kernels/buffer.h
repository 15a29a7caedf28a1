// The buffer of a blocked product: an area for packed A and one for packed B.
#pragma once

#include <cstdint>

#include "blas/level3/kernels/records.h"
#include "runtime/memory/memory.h"
#include "runtime/messages/messages.h"

namespace qsl::QSL_LEVEL {

inline constexpr std::uintptr_t page = 4096;
inline constexpr int buffer_alignment = 128;

constexpr std::uintptr_t whole_pages(std::uintptr_t bytes) {
  return (bytes + page - 1) & ~(page - 1);
}

class PackBuffer {
 public:
  explicit PackBuffer(const BlockRecord& block)
      : block_(qsl_mm_allocate(block.bytes, buffer_alignment)) {
    const std::uintptr_t base = whole_pages(reinterpret_cast<std::uintptr_t>(block_));
    a_ = base + block.a_offset;
    b_ = base + block.b_offset;
  }
  ~PackBuffer() {
    if (block_ != nullptr) qsl_mm_deallocate(block_);
  }
  PackBuffer(const PackBuffer&) = delete;
  PackBuffer& operator=(const PackBuffer&) = delete;

  bool is_had() const { return block_ != nullptr; }
  char* a() const { return reinterpret_cast<char*>(a_); }
  char* b() const { return reinterpret_cast<char*>(b_); }

 private:
  void* block_;
  std::uintptr_t a_, b_;
};

// Says that a call goes on without its buffer.
[[gnu::noinline, gnu::cold]] inline void report_no_buffer(const char* name) {
  constexpr int name_length = 5;
  const int info = QSL_MSG_WORK_MEMORY;
  qsl_xerbla(name, &info, name_length);
}

}  // namespace qsl::QSL_LEVEL
