#include "runtime/messages/bounded.h"
#include "runtime/messages/catalog.h"
#include "runtime/messages/messages.h"
#include "runtime/platform/platform.h"

extern "C" {

int qsl_msg_try_load = 1;     // the external catalog has not been tried yet
int qsl_msg_use_builtin = 1;  // the texts come from the built-in table
qsl::platform::Module* qsl_msg_module = nullptr;

// Shared by all callers and not locked: lines printed by two threads at once can mix.
char qsl_msg_text_buffer[512];
char qsl_msg_line_buffer[512];
}

namespace {

const char* builtin_text(int id) {
  return id >= 0 && id < qsl::kMessageCount ? qsl_message_table.rows[id].text : "";
}

// A catalog that lacks one id falls back for that one message.
const char* message_text(int id) {
  if (__atomic_exchange_n(&qsl_msg_try_load, 0, __ATOMIC_ACQ_REL) != 0) {
    qsl_msg_module = qsl::platform::message_catalog_open();
    if (qsl_msg_module != nullptr) __atomic_store_n(&qsl_msg_use_builtin, 0, __ATOMIC_RELEASE);
  }
  if (__atomic_load_n(&qsl_msg_use_builtin, __ATOMIC_ACQUIRE) == 0 &&
      qsl::platform::message_catalog_fetch(qsl_msg_module, id, qsl_msg_text_buffer,
                                           sizeof qsl_msg_text_buffer)) {
    return qsl_msg_text_buffer;
  }
  return builtin_text(id);
}

// Prints and flushes the line buffer. The length is measured with the buffer's own size as limit,
// so the overflow report can't come; it guards against a change of either.
void print_line_buffer() {
  constexpr int kSize = sizeof qsl_msg_line_buffer;
  const int length = static_cast<int>(qsl_strnlen_s(qsl_msg_line_buffer, kSize)) - 1;
  if (length > kSize) {
    qsl_printf("\nQSL INTERNAL ERROR: message buffer overflow.");
    qsl_printf("\n       Lenght: %d   Buffer size: %d\n", length, kSize);
  }
  qsl_printf("%s", qsl_msg_line_buffer);
}

}  // namespace

extern "C" {

void qsl_print_message([[maybe_unused]] int severity, int id, [[maybe_unused]] int nargs, ...) {
  if (id != QSL_MSG_NEWLINE) {
    std::va_list args;
    va_start(args, nargs);
    qsl_vsnprintf(qsl_msg_line_buffer, sizeof qsl_msg_line_buffer, message_text(id), args);
    va_end(args);
    print_line_buffer();
  }
  qsl_printf("%s", builtin_text(QSL_MSG_NEWLINE));
}

void qsl_print_line([[maybe_unused]] int severity, const char* format, int nargs, ...) {
  if (nargs <= 0) return;
  std::va_list args;
  va_start(args, nargs);
  qsl_vsnprintf(qsl_msg_line_buffer, sizeof qsl_msg_line_buffer, format, args);
  va_end(args);
  qsl_printf("%s", qsl_msg_line_buffer);
}

void qsl_fprint_line(QslStream* stream, const char* format, int nargs, ...) {
  if (nargs <= 0) return;
  std::va_list args;
  va_start(args, nargs);
  qsl_vsnprintf(qsl_msg_line_buffer, sizeof qsl_msg_line_buffer, format, args);
  va_end(args);
  qsl_fprintf_text(stream, qsl_msg_line_buffer);
}
}
