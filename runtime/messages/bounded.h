// Bounded memory and string routines. A constraint that is not met is told to the handler (the
// default one does nothing) and returned as a code.
#pragma once

#include <cstddef>

enum {
  QSL_BOUNDED_OK = 0,
  QSL_BOUNDED_NULL = 400,
  QSL_BOUNDED_ZERO_LENGTH = 401,
  QSL_BOUNDED_EXCEEDS_MAX = 403,
  QSL_BOUNDED_OVERLAP = 404,
  QSL_BOUNDED_NO_SPACE = 406,
};

extern "C" {

using qsl_constraint_handler = void (*)(const char* text, void* object, int code);
extern qsl_constraint_handler qsl_memory_constraint_handler;
extern qsl_constraint_handler qsl_string_constraint_handler;

int qsl_memcpy_s(void* dest, std::size_t dmax, const void* src, std::size_t smax);
int qsl_strncpy_s(char* dest, int dmax, const char* src, std::size_t slen);
std::size_t qsl_strnlen_s(const char* s, std::size_t dmax);
}
