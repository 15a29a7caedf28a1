// The parameter-error reporter: prints what was wrong and lets the caller return.
#include "runtime/messages/bounded.h"
#include "runtime/messages/messages.h"

extern "C" {
qsl_xerbla_reporter qsl_xerbla_hook = nullptr;
}

namespace {

constexpr int kMaxName = 20;  // longer routine names are cut

constexpr int kInfoWorkspace = 1000;
constexpr int kInfoOptionalParameters = 1001;

// The name as a terminated string: Fortran-style names come with a length and no zero.
struct RoutineName {
  char text[kMaxName + 2];

  RoutineName(const char* name, int length) {
    const int limit = length > kMaxName ? kMaxName : length;
    int i = 0;
    for (; i < limit && name[i] != '\0'; ++i) text[i] = name[i];
    text[i] = '\0';
  }
};

}  // namespace

extern "C" {

void qsl_xerbla_print(const char* name, const int* info, int name_len) {
  if (name == nullptr || info == nullptr) return;
  const RoutineName routine(name, name_len);
  const int code = *info;
  qsl_print_message(0, QSL_MSG_NEWLINE, 0);
  switch (code) {
    case kInfoWorkspace:
      qsl_print_message(0, QSL_MSG_WORKSPACE, 1, routine.text);
      return;
    case kInfoOptionalParameters:
      qsl_print_message(0, QSL_MSG_OPTIONAL_PARAMETERS, 1, routine.text);
      return;
    case QSL_MSG_COPROCESSOR:
      qsl_print_message(0, QSL_MSG_COPROCESSOR, 1, routine.text);
      return;
    case QSL_MSG_WORK_MEMORY:
      qsl_print_message(0, QSL_MSG_WORK_MEMORY, 1, routine.text);
      return;
    default:
      break;
  }
  if (code < 1) {
    const int condition = static_cast<int>(0u - static_cast<unsigned>(code));
    qsl_print_message(0, QSL_MSG_CONDITION, 2, condition, routine.text);
  } else {
    qsl_print_message(0, QSL_MSG_PARAMETER, 2, code, routine.text);
  }
}

void qsl_xerbla(const char* name, const int* info, int name_len) {
  if (name == nullptr || info == nullptr) return;
  const qsl_xerbla_reporter hook = __atomic_load_n(&qsl_xerbla_hook, __ATOMIC_ACQUIRE);
  (hook != nullptr ? hook : qsl_xerbla_print)(name, info, name_len);
}

void qsl_xerbla_set_default(qsl_xerbla_reporter reporter) {
  if (__atomic_load_n(&qsl_xerbla_hook, __ATOMIC_ACQUIRE) == nullptr) {
    __atomic_store_n(&qsl_xerbla_hook, reporter, __ATOMIC_RELEASE);
  }
}

void qsl_cblas_report(const char* name, int code) {
  qsl_xerbla_set_default(qsl_xerbla_print);
  qsl_xerbla(name, &code, static_cast<int>(qsl_strnlen_s(name, 4096)));
}

void qsl_cblas_report_workspace(const char* name) { qsl_cblas_report(name, kInfoWorkspace); }
}
