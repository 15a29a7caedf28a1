// Text that is built piece by piece in a buffer of fixed size. A piece that does not fit is cut.
#pragma once

#include <cstdarg>
#include <cstddef>

#include "runtime/messages/bounded.h"
#include "runtime/messages/crt.h"

namespace qsl {

class TextBuffer {
 public:
  TextBuffer(char* buffer, std::size_t size) : end_(buffer), left_(size) { *end_ = '\0'; }

  [[gnu::format(printf, 2, 3)]] void append(const char* format, ...) {
    std::va_list args;
    va_start(args, format);
    qsl_vsnprintf(end_, left_, format, args);
    va_end(args);
    const std::size_t length = qsl_strnlen_s(end_, left_);
    end_ += length;
    left_ -= length;
  }

 private:
  char* end_;         // where the next piece goes
  std::size_t left_;  // bytes from there on, the zero included
};

}  // namespace qsl
