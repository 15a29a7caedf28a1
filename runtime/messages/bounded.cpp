#include "runtime/messages/bounded.h"

#include <cstdint>
#include <cstring>

namespace {

constexpr std::size_t kMaxString = 4096;

void ignore_constraint(const char*, void*, int) {}

int fail(qsl_constraint_handler handler, const char* text, int code) {
  (handler != nullptr ? handler : ignore_constraint)(text, nullptr, code);
  return code;
}

int memory_fail(const char* text, int code) {
  return fail(qsl_memory_constraint_handler, text, code);
}

int string_fail(const char* text, int code) {
  return fail(qsl_string_constraint_handler, text, code);
}

bool overlap(const void* a, std::size_t a_size, const void* b, std::size_t b_size) {
  const auto a0 = reinterpret_cast<std::uintptr_t>(a), b0 = reinterpret_cast<std::uintptr_t>(b);
  return a0 <= b0 ? b0 - a0 < a_size : a0 - b0 < b_size;
}

}  // namespace

extern "C" {

qsl_constraint_handler qsl_memory_constraint_handler = nullptr;
qsl_constraint_handler qsl_string_constraint_handler = nullptr;

int qsl_memcpy_s(void* dest, std::size_t dmax, const void* src, std::size_t smax) {
  if (dest == nullptr) return memory_fail("memcpy_s: dest is NULL", QSL_BOUNDED_NULL);
  if (dmax == 0) return memory_fail("memcpy_s: dmax is 0", QSL_BOUNDED_ZERO_LENGTH);
  if (smax == 0) return memory_fail("memcpy_s: smax is 0", QSL_BOUNDED_ZERO_LENGTH);
  if (smax > dmax) return memory_fail("memcpy_s: smax exceeds dmax", QSL_BOUNDED_EXCEEDS_MAX);
  if (src == nullptr) return memory_fail("memcpy_s: src is NULL", QSL_BOUNDED_NULL);
  if (overlap(dest, dmax, src, smax)) {
    return memory_fail("memcpy_s: overlap undefined", QSL_BOUNDED_OVERLAP);
  }
  std::memcpy(dest, src, smax);
  return QSL_BOUNDED_OK;
}

int qsl_strncpy_s(char* dest, int dmax, const char* src, std::size_t slen) {
  if (dest == nullptr) return string_fail("strncpy_s: dest is null", QSL_BOUNDED_NULL);
  if (dmax == 0) return string_fail("strncpy_s: dmax is 0", QSL_BOUNDED_ZERO_LENGTH);
  if (dmax < 0 || static_cast<std::size_t>(dmax) > kMaxString) {
    return string_fail("strncpy_s: dmax exceeds max", QSL_BOUNDED_EXCEEDS_MAX);
  }
  const auto fail_empty = [dest](const char* text, int code) {
    dest[0] = '\0';
    return string_fail(text, code);
  };
  if (src == nullptr) return fail_empty("strncpy_s: src is null", QSL_BOUNDED_NULL);
  if (slen == 0) return fail_empty("strncpy_s: slen is zero", QSL_BOUNDED_ZERO_LENGTH);
  if (slen > kMaxString) {
    return fail_empty("strncpy_s: slen exceeds max", QSL_BOUNDED_EXCEEDS_MAX);
  }
  // Whichever object lies lower must not be walked into the other one's start.
  const bool dest_first =
      reinterpret_cast<std::uintptr_t>(dest) < reinterpret_cast<std::uintptr_t>(src);
  for (std::size_t i = 0; i < static_cast<std::size_t>(dmax); ++i) {
    const bool collides = dest_first ? dest + i == src : src + i == dest;
    if (collides) return fail_empty("strncpy_s: overlapping objects", QSL_BOUNDED_OVERLAP);
    if (i == slen) {
      dest[i] = '\0';
      return QSL_BOUNDED_OK;
    }
    dest[i] = src[i];
    if (src[i] == '\0') return QSL_BOUNDED_OK;
  }
  return fail_empty("strncpy_s: not enough space for src", QSL_BOUNDED_NO_SPACE);
}

std::size_t qsl_strnlen_s(const char* s, std::size_t dmax) {
  if (s == nullptr) return 0;
  if (dmax == 0) {
    string_fail("strnlen_s: dmax is 0", QSL_BOUNDED_ZERO_LENGTH);
    return 0;
  }
  if (dmax > kMaxString) {
    string_fail("strnlen_s: dmax exceeds max", QSL_BOUNDED_EXCEEDS_MAX);
    return 0;
  }
  std::size_t length = 0;
  while (length < dmax && s[length] != '\0') ++length;
  return length;
}
}
