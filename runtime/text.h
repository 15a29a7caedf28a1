// Small text helpers of the frame. They stand in for the C library's, which a Windows build does
// not link, so they hold to its rules in the "C" locale.
#pragma once

#include <cstddef>

namespace qsl {

inline bool text_equal(const char* a, const char* b) {
  while (*a != '\0' && *a == *b) {
    ++a;
    ++b;
  }
  return *a == *b;
}

// Position after `prefix`, or null when the text does not begin with it.
inline const char* text_after(const char* text, const char* prefix) {
  for (; *prefix != '\0'; ++prefix, ++text) {
    if (*text != *prefix) return nullptr;
  }
  return text;
}

inline bool is_digit(char c) { return c >= '0' && c <= '9'; }
inline bool is_blank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// Decimal number as strtol reads it: blanks, a sign, digits; clamped to the range of int. `end` is
// where reading stopped: the text's start when there was no digit.
inline int parse_int(const char* text, const char** end = nullptr) {
  constexpr unsigned kMax = 0x7fffffff;
  const char* p = text;
  while (is_blank(*p)) ++p;
  const bool negative = *p == '-';
  if (*p == '-' || *p == '+') ++p;
  if (!is_digit(*p)) {
    if (end != nullptr) *end = text;
    return 0;
  }
  const unsigned limit = kMax + (negative ? 1u : 0u);
  unsigned value = 0;
  for (; is_digit(*p); ++p) {
    const unsigned digit = static_cast<unsigned>(*p - '0');
    value = value > (limit - digit) / 10 ? limit : value * 10 + digit;
  }
  if (end != nullptr) *end = p;
  return static_cast<int>(negative ? 0u - value : value);
}

}  // namespace qsl
