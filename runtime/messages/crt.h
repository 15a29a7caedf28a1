// The formatted input and output of the C runtime. On Linux these are direct calls; on Windows the
// C runtime is bound late by name, and without one they print nothing.
#pragma once

#include <cstdarg>
#include <cstddef>

struct QslStream;  // a FILE of whichever C runtime is bound

extern "C" {

// To standard output, flushed.
int qsl_printf(const char* format, ...) __attribute__((format(printf, 1, 2)));
// A text to a stream that is already open, flushed.
int qsl_fprintf_text(QslStream* stream, const char* text);

// As the C library's vsnprintf where the text fits; a longer text is cut at size - 1 characters and
// always terminated.
int qsl_vsnprintf(char* buffer, std::size_t size, const char* format, std::va_list args)
    __attribute__((format(printf, 3, 0)));
int qsl_snprintf(char* buffer, std::size_t size, const char* format, ...)
    __attribute__((format(printf, 3, 4)));
// The same with a limit of `count` characters besides the buffer's size.
int qsl_snprintf_count(char* buffer, std::size_t size, std::size_t count, const char* format,
                       std::va_list args) __attribute__((format(printf, 4, 0)));
int qsl_snprintf_capped(char* buffer, std::size_t size, std::size_t count, const char* format, ...)
    __attribute__((format(printf, 4, 5)));
int qsl_sscanf(const char* text, const char* format, ...) __attribute__((format(scanf, 2, 3)));

// A file for appending, null when it can't be opened.
QslStream* qsl_stream_open_append(const char* path);
void qsl_stream_close(QslStream* stream);
}
