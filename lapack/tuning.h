// The tuning query and the progress hook of the factorisations.
#pragma once

#include "runtime/dispatch/dispatcher.h"

extern "C" {

// What an algorithm's inner numbers are, by the processor type and the problem's size. `ispec` 1 is
// the block size of the routine `name` for a problem of n1 rows and n2 columns; 1 means unblocked.
// Nothing else is asked for: -1.
QSL_HIDDEN int qsl_tuned_ilaenv(int ispec, const char* name, const char* opts, int n1, int n2,
                                int n3, int n4, int name_length, int opts_length);

// Asked by the factorisations at each unblocked part: `step` is the number of columns reached,
// `stage` the routine's name. Not 0: the factorisation is to stop.
using qsl_progress_callback = int (*)(const int* thread, const int* step, const char* stage,
                                      int stage_length);
// Asks the installed callback; 0 when there is none.
QSL_HIDDEN int qsl_progress_hook(const int* thread, const int* step, const char* stage,
                                 int stage_length);
// Never stops anything.
QSL_HIDDEN int qsl_progress_continue(const int* thread, const int* step, const char* stage,
                                     int stage_length);
// Installs the callback unless one is installed already.
QSL_HIDDEN void qsl_progress_set_default(qsl_progress_callback callback);
QSL_HIDDEN extern qsl_progress_callback qsl_progress_installed;
}

// info of a factorisation that the progress hook has stopped.
enum { QSL_STOPPED_BY_HOOK = -1002 };
