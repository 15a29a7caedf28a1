#include "runtime/messages/messages.h"
#include "runtime/platform/platform.h"

extern "C" {

void (*qsl_exit_handler)(int code) = nullptr;

void qsl_fatal_exit(int code) {
  if (qsl_exit_handler != nullptr) {
    qsl_exit_handler(code);
    return;
  }
  qsl::platform::terminate_process(code);
}
}
