// Verbose mode: with QSL_VERBOSE=1 every wrapped routine prints one line a call.
#pragma once

#include "runtime/messages/crt.h"

extern "C" {

// Reads QSL_VERBOSE if that has not been done; the address of the mode word, 0 or 1.
int* qsl_verbose_mode_ptr();
// Time stamp in seconds, from the time-stamp counter.
double qsl_seconds();
// Prints one line: the call's text, its time, the state of the library; before the first the
// banner.
void qsl_verbose_print(int interface_kind, const char* call_text, double seconds);
// The value of QSL_VERBOSE_OUTPUT_FILE, read once; empty for standard output.
const char* qsl_verbose_file();

extern int qsl_verbose_mode;
}

namespace qsl {

// Of the first reading of either variable, and of the banner.
extern volatile int verbose_mode_lock;
extern volatile int verbose_file_lock;
extern volatile int banner_lock;

}  // namespace qsl
