#include "runtime/config/threads.h"

#include "runtime/dispatch/environment.h"
#include "runtime/dispatch/lock.h"
#include "runtime/text.h"

volatile int qsl::thread_settings_lock = 0;

namespace {

using qsl::is_digit;
using qsl::parse_int;
using qsl::text_after;
using qsl::text_equal;

constexpr int kUnset = -1;

// The value of a variable; 256 characters or more count as unset.
struct Value {
  char text[256];
  bool set;

  explicit Value(const char* name) { set = qsl_getenv(name, text, sizeof text) > 0; }
};

bool all_digits(const char* text) {
  for (; *text != '\0'; ++text) {
    if (!is_digit(*text)) return false;
  }
  return true;
}

// A value with a non-digit counts as 1; only a positive number is kept.
int thread_count(const char* name) {
  const Value value(name);
  if (!value.set) return kUnset;
  if (!all_digits(value.text)) return 1;
  const int count = parse_int(value.text);
  return count > 0 ? count : kUnset;
}

int stripe_count(const char* name) {
  const Value value(name);
  return value.set && all_digits(value.text) ? parse_int(value.text) : kUnset;
}

int plain_number(const char* name) {
  const Value value(name);
  return value.set ? parse_int(value.text) : kUnset;
}

int processes_per_node() {
  static const char* const names[] = {"QSL_MPI_PPN", "A_MPI_NUMBER_OF_MPI_PROCESSES_PER_NODE",
                                      "A_MPI_PIN_MAPPING", "OMPI_COMM_WORLD_LOCAL_SIZE",
                                      "MPI_LOCALNRANKS"};
  for (const char* name : names) {
    const int count = plain_number(name);
    if (count > 0) return count;
  }
  return kUnset;
}

bool is_separator(char c) {
  return qsl::is_blank(c) || c == ',' || c == ';' || c == ':' || c == '"' || c == '\'';
}

struct DomainName {
  const char* name;
  int qsl_thread_settings::*count;
};
constexpr DomainName kDomains[] = {
    {"QSL_DOMAIN_ALL", &qsl_thread_settings::domain_all},
    {"QSL_DOMAIN_BLAS", &qsl_thread_settings::domain_blas},
    {"QSL_DOMAIN_FFT", &qsl_thread_settings::domain_fft},
    {"QSL_DOMAIN_VML", &qsl_thread_settings::domain_vml},
    {"QSL_DOMAIN_PARDISO", &qsl_thread_settings::domain_pardiso},
};

// One `name=value` item, already cut out; an empty value counts as 1.
void apply_domain_item(const char* item, qsl_thread_settings* settings) {
  for (const DomainName& domain : kDomains) {
    const char* rest = text_after(item, domain.name);
    if (rest == nullptr || *rest != '=') continue;
    const char* number = rest + 1;
    if (*number == '\0') {
      settings->*domain.count = 1;
    } else if (all_digits(number)) {
      settings->*domain.count = parse_int(number);
    }
  }
}

void read_domains(qsl_thread_settings* settings) {
  Value value("QSL_DOMAIN_NUM_THREADS");
  if (!value.set) return;
  char* p = value.text;
  while (*p != '\0') {
    while (is_separator(*p)) ++p;
    char* item = p;
    while (*p != '\0' && !is_separator(*p)) ++p;
    const bool last = *p == '\0';
    *p = '\0';
    apply_domain_item(item, settings);
    if (!last) ++p;
  }
}

qsl_thread_settings settings;
bool settings_read = false;

void read_settings() {
  qsl_thread_settings s = {};
  s.num_threads = thread_count("QSL_NUM_THREADS");
  s.num_stripes = stripe_count("QSL_NUM_STRIPES");
  s.domain_all = s.domain_blas = s.domain_fft = s.domain_vml = s.domain_pardiso = kUnset;
  read_domains(&s);
  s.omp_num_threads = thread_count("OMP_NUM_THREADS");
  s.processes_per_node = processes_per_node();
  s.mpi_thread_level = plain_number("A_MPI_THREAD_LEVEL");
  const Value dynamic("QSL_DYNAMIC");
  s.dynamic = !(text_equal(dynamic.text, "FALSE") || text_equal(dynamic.text, "false"));
  settings = s;
}

}  // namespace

extern "C" {

const qsl_thread_settings* qsl_get_thread_settings() {
  if (!__atomic_load_n(&settings_read, __ATOMIC_ACQUIRE)) {
    qsl::LockGuard guard(&qsl::thread_settings_lock);
    if (!settings_read) {
      read_settings();
      __atomic_store_n(&settings_read, true, __ATOMIC_RELEASE);
    }
  }
  return &settings;
}

int qsl_get_max_threads() { return 1; }
int qsl_get_domain_threads(qsl_domain) { return 1; }
int qsl_get_dynamic() { return 1; }
}
