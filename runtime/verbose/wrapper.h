// The wrapper of an exported routine: with verbose mode on, the call is timed and has its line.
//
// A routine is a structure with the work of a call, reports included, and the line's text, in which
// the arguments stand in their order:
//
//   struct Ddot {
//     static constexpr char line[] = "DDOT(%d,%p,%d,%p,%d)";
//     static double run(int n, const double* x, int incx, const double* y, int incy) { ... }
//   };
//
//   double cblas_ddot(int n, const double* x, int incx, const double* y, int incy) {
//     return qsl::wrapped<Ddot>(n, x, incx, y, incy);
//   }
//
// Where there are many arguments, or the routines behind take them by address, the call is a
// structure that holds them:
//
//   struct GetrfCall {
//     int m, n;
//     ...
//     void run() const { ... }
//     void print(VerboseCall& timed) const { timed.print("DGETRF(%d,%d,...)", m, n, ...); }
//   };
//
//   const GetrfCall call = {...};
//   qsl::wrapped(&call);
//
// With verbose mode off a call pays one load through a pointer and one test, and leaves its
// arguments where they are: to work and to the verbose form it jumps. That needs verbose forms
// which are not local to a file, or the compiler would give them a calling convention of their own,
// for which every call would load its arguments first. So no routine is in an unnamed namespace.
#pragma once

#include <type_traits>

#include "runtime/messages/messages.h"
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

// An option may be any character: one that is zero must not end the line.
inline void blank_zeros(char* text, int count) {
  for (int i = 0; i < count; ++i) {
    if (text[i] == '\0') text[i] = ' ';
  }
}

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
    char text[200] = "";
    std::va_list args;
    va_start(args, format);
    const int count = qsl_vsnprintf(text, sizeof text, format, args);
    va_end(args);
    // Less than nothing counts a text that did not fit.
    constexpr int kMost = sizeof text - 1;
    blank_zeros(text, count < 0 || count > kMost ? kMost : count);
    text[kMost] = '\0';
    qsl_verbose_print(0, text, seconds_);
  }

 private:
  bool on_;
  double seconds_ = 0;
};

// What a pointer argument points to, for the wrapper's text and for reading counts and strides: a
// null pointer counts as 0.
inline int value_or_zero(const int* argument) { return argument != nullptr ? *argument : 0; }
inline char value_or_zero(const char* argument) { return argument != nullptr ? *argument : '\0'; }

// Where a routine's status goes: nowhere by a null pointer, and then the line shows 0.
class Info {
 public:
  explicit Info(int* info) : info_(info) {}
  void set(int status) const {
    if (info_ != nullptr) *info_ = status;
  }
  int value() const { return value_or_zero(info_); }

 private:
  int* info_;
};

// The two forms of a routine as the wrapper takes them.
template <class Routine>
struct ByArguments {
  template <class... Arguments>
  [[gnu::always_inline]] static auto run(Arguments... arguments) {
    return Routine::run(arguments...);
  }
  template <class... Arguments>
  static void print(VerboseCall& timed, Arguments... arguments) {
    timed.print(Routine::line, arguments...);
  }
};

template <class Call>
struct ByStructure {
  [[gnu::always_inline]] static auto run(Call* call) { return call->run(); }
  static void print(VerboseCall& timed, Call* call) { call->print(timed); }
};

template <class Form>
inline VerboseGate verbose_gate;

template <class Form, class... Arguments>
[[gnu::noinline, gnu::cold]] auto verbose_call(Arguments... arguments) {
  VerboseCall timed(&verbose_gate<Form>);
  if constexpr (std::is_void_v<decltype(Form::run(arguments...))>) {
    Form::run(arguments...);
    Form::print(timed, arguments...);
  } else {
    const auto result = Form::run(arguments...);
    Form::print(timed, arguments...);
    return result;
  }
}

template <class Form, class... Arguments>
[[gnu::always_inline]] inline auto gated(Arguments... arguments) {
  if (!verbose_gate<Form>.is_off()) return verbose_call<Form>(arguments...);
  return Form::run(arguments...);
}

template <class Routine, class... Arguments>
[[gnu::always_inline]] inline auto wrapped(Arguments... arguments) {
  return gated<ByArguments<Routine>>(arguments...);
}
template <class Call>
[[gnu::always_inline]] inline auto wrapped(Call* call) {
  return gated<ByStructure<Call>>(call);
}

[[gnu::always_inline]] inline void install_reporter() {
  if (__atomic_load_n(&qsl_xerbla_hook, __ATOMIC_ACQUIRE) == nullptr) {
    qsl_xerbla_set_default(qsl_xerbla_print);
  }
}

// The same for a routine that can report a bad argument: the first call installs the reporter.
template <class Routine, class... Arguments>
[[gnu::always_inline]] inline auto wrapped_with_reports(Arguments... arguments) {
  install_reporter();
  return wrapped<Routine>(arguments...);
}
template <class Call>
[[gnu::always_inline]] inline auto wrapped_with_reports(Call* call) {
  install_reporter();
  return wrapped(call);
}

}  // namespace qsl
