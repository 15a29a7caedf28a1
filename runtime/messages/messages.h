// The numbered message catalog, the parameter-error reporter, the line printers and the fatal exit.
#pragma once

#include "runtime/messages/crt.h"

extern "C" {

// Prints message `id` with its arguments and a newline to standard output, flushed. Id 0 is the
// newline alone. `severity` and `nargs` have no effect.
void qsl_print_message(int severity, int id, int nargs, ...);

// Formats a line into the shared line buffer and prints it to standard output (or to a stream).
// Nothing happens when `nargs` <= 0.
void qsl_print_line(int severity, const char* format, int nargs, ...);
void qsl_fprint_line(QslStream* stream, const char* format, int nargs, ...);

// Parameter errors of the checking interfaces: `info` is the position of the bad argument.
using qsl_xerbla_reporter = void (*)(const char* name, const int* info, int name_len);
void qsl_xerbla(const char* name, const int* info, int name_len);
void qsl_xerbla_print(const char* name, const int* info, int name_len);
// Installs the reporter unless one is installed already.
void qsl_xerbla_set_default(qsl_xerbla_reporter reporter);
extern qsl_xerbla_reporter qsl_xerbla_hook;

// Reports for the cblas_ layer: a bad argument, and temporary memory that can't be had.
void qsl_cblas_report(const char* name, int code);
void qsl_cblas_report_workspace(const char* name);

// Ends the process without running exit handlers. An installed handler is called instead.
void qsl_fatal_exit(int code);
extern void (*qsl_exit_handler)(int code);
}

// Message ids that the frame prints.
enum {
  QSL_MSG_NEWLINE = 0,
  QSL_MSG_PARAMETER = 6,
  QSL_MSG_CONDITION = 7,
  QSL_MSG_WORKSPACE = 8,
  QSL_MSG_OPTIONAL_PARAMETERS = 9,
  QSL_MSG_MEMORY = 760,
  QSL_MSG_WORK_MEMORY = 1089,
  QSL_MSG_CBWR_MODE = 1209,
  QSL_MSG_MINIMUM_SYSTEM = 1210,
  QSL_MSG_MINIMUM_PROCESSOR = 1211,
  QSL_MSG_COPROCESSOR = 1212,
  QSL_MSG_CPU_NOT_SUPPORTED = 1213,
};
