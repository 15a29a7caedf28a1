// The environment getter that every setting is read through.
#pragma once

extern "C" {

// Copies the value of an environment variable into `buffer` of `size` bytes. Returns the length of
// the value, 0 when it is unset or empty, and the negated size needed when it does not fit. The
// buffer is empty whenever the result is not positive.
int qsl_getenv(const char* name, char* buffer, int size);

// Above 0, only "MIC_LD_LIBRARY_PATH", "LD_LIBRARY_PATH", "QSLROOT" and "LANG" may be read.
extern int qsl_getenv_guard;
}
