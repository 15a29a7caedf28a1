// The wrapper around a routine's interface function that adds the verbose line.
//
//   static qsl::VerboseGate gate;
//   if (gate.is_off()) return interface(arguments);
//   qsl::VerboseCall call(&gate);
//   ... result = interface(arguments);
//   call.print("DDOT(%d,%p,...)", ...);
//
// With verbose mode off a call pays one load through a pointer and one test.
#pragma once

#include "runtime/text_buffer.h"
#include "runtime/verbose/verbose.h"

namespace qsl {

// The pointer of one wrapper: to a word that says "not read yet", then to the mode word.
class VerboseGate {
 public:
  bool is_off() const { return *__atomic_load_n(&mode_, __ATOMIC_RELAXED) == 0; }

  // The mode, read from the environment on first use.
  int mode() {
    if (*__atomic_load_n(&mode_, __ATOMIC_RELAXED) == -1) {
      __atomic_store_n(&mode_, qsl_verbose_mode_ptr(), __ATOMIC_RELAXED);
    }
    return *mode_;
  }

 private:
  static inline int undecided_ = -1;
  int* mode_ = &undecided_;
};

// Times one call and prints its line.
class VerboseCall {
 public:
  explicit VerboseCall(VerboseGate* gate) : on_(gate->mode() != 0) {
    if (on_) seconds_ = -qsl_seconds();
  }

  // The call's text is cut at 199 characters. Prints nothing when the mode is off.
  [[gnu::format(printf, 2, 3)]] void print(const char* format, ...) {
    if (!on_) return;
    if (seconds_ != 0) seconds_ += qsl_seconds();
    char text[200];
    std::va_list args;
    va_start(args, format);
    qsl_vsnprintf(text, sizeof text, format, args);
    va_end(args);
    text[sizeof text - 1] = '\0';
    qsl_verbose_print(0, text, seconds_);
  }

 private:
  bool on_;
  double seconds_ = 0;
};

// What a pointer argument points to, for the wrapper's text and for reading counts and strides: a
// null pointer counts as 0.
inline int value_or_zero(const int* argument) { return argument != nullptr ? *argument : 0; }

}  // namespace qsl
