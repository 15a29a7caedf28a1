// The few C library functions that the compiler takes for granted, for a file that links none.
#include <cstddef>

extern "C" {

void* memcpy(void* dest, const void* src, std::size_t size) {
  void* result = dest;
  asm volatile("rep movsb" : "+D"(dest), "+S"(src), "+c"(size) : : "memory");
  return result;
}

void* memmove(void* dest, const void* src, std::size_t size) {
  auto* d = static_cast<char*>(dest);
  const auto* s = static_cast<const char*>(src);
  if (d <= s || d >= s + size) return memcpy(dest, src, size);
  for (std::size_t i = size; i > 0; --i) {
    d[i - 1] = s[i - 1];
    asm volatile("" : : : "memory");  // keeps the loop from becoming a call of memmove
  }
  return dest;
}

void* memset(void* dest, int value, std::size_t size) {
  void* result = dest;
  asm volatile("rep stosb" : "+D"(dest), "+c"(size) : "a"(value) : "memory");
  return result;
}

int memcmp(const void* a, const void* b, std::size_t size) {
  const auto* p = static_cast<const unsigned char*>(a);
  const auto* q = static_cast<const unsigned char*>(b);
  for (std::size_t i = 0; i < size; ++i) {
    if (p[i] != q[i]) return p[i] < q[i] ? -1 : 1;
  }
  return 0;
}

std::size_t strlen(const char* text) {
  std::size_t length = 0;
  while (text[length] != '\0') {
    ++length;
    asm volatile("" : : : "memory");  // keeps the loop from becoming a call of strlen
  }
  return length;
}
}
