// The C library's formatted input and output: there is one, and it is called directly.
#include "runtime/messages/crt.h"

#include <stdio.h>

namespace {

FILE* file(QslStream* stream) { return reinterpret_cast<FILE*>(stream); }

}  // namespace

extern "C" {

int qsl_printf(const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  const int count = vprintf(format, args);
  va_end(args);
  fflush(stdout);
  return count;
}

int qsl_fprintf_text(QslStream* stream, const char* text) {
  const int count = fprintf(file(stream), "%s", text);
  fflush(file(stream));
  return count;
}

int qsl_vsnprintf(char* buffer, std::size_t size, const char* format, std::va_list args) {
  return vsnprintf(buffer, size, format, args);
}

int qsl_snprintf(char* buffer, std::size_t size, const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  const int count = vsnprintf(buffer, size, format, args);
  va_end(args);
  return count;
}

int qsl_snprintf_count(char* buffer, std::size_t size, std::size_t count, const char* format,
                       std::va_list args) {
  return vsnprintf(buffer, count < size ? count + 1 : size, format, args);
}

int qsl_snprintf_capped(char* buffer, std::size_t size, std::size_t count, const char* format,
                        ...) {
  std::va_list args;
  va_start(args, format);
  const int written = qsl_snprintf_count(buffer, size, count, format, args);
  va_end(args);
  return written;
}

int qsl_sscanf(const char* text, const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  const int count = vsscanf(text, format, args);
  va_end(args);
  return count;
}

QslStream* qsl_stream_open_append(const char* path) {
  return reinterpret_cast<QslStream*>(fopen(path, "ae"));
}

void qsl_stream_close(QslStream* stream) { fclose(file(stream)); }
}
