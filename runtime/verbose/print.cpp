#include "runtime/config/threads.h"
#include "runtime/config/version.h"
#include "runtime/dispatch/lock.h"
#include "runtime/dispatch/reproducibility.h"
#include "runtime/memory/memory.h"
#include "runtime/messages/messages.h"
#include "runtime/platform/platform.h"
#include "runtime/text_buffer.h"
#include "runtime/verbose/clock.h"
#include "runtime/verbose/verbose.h"

volatile int qsl::banner_lock = 0;

namespace {

constexpr std::size_t kTextSize = 400;

bool banner_printed = false;

void append_time(qsl::TextBuffer* text, double seconds) {
  if (seconds <= 0) {
    text->append("%.2fs", 0.0);
  } else if (seconds > 1) {
    text->append("%.2fs", seconds);
  } else if (seconds * 1e3 > 1) {
    text->append("%.2fms", seconds * 1e3);
  } else if (seconds * 1e6 > 1) {
    text->append("%.2fus", seconds * 1e6);
  } else {
    text->append("%.0fns", seconds * 1e9);
  }
}

void append_reproducibility(qsl::TextBuffer* text) {
  static const char* const names[] = {nullptr, "OFF",        "AUTO",   "COMPATIBLE",   "SSE2",
                                      nullptr, "SSSE3",      "SSE4_1", "SSE4_2",       "AVX",
                                      "AVX2",  "AVX512_MIC", "AVX512", "AVX512_MIC_E1"};
  const int mode = qsl_cbwr_query(1);
  const bool named = mode >= 1 && mode <= QSL_CBWR_AVX512_MIC_E1 && names[mode] != nullptr;
  if (named) {
    text->append(" CNR:%s", names[mode]);
  } else {
    text->append(" CNR:?%x", static_cast<unsigned>(mode));
  }
}

// The thread count, and a domain's where it differs.
void append_threads(qsl::TextBuffer* text) {
  struct Domain {
    const char* name;
    qsl_domain domain;
  };
  static const Domain domains[] = {{"BLAS", QSL_DOMAIN_BLAS},
                                   {"FFT", QSL_DOMAIN_FFT},
                                   {"VML", QSL_DOMAIN_VML},
                                   {"PARDISO", QSL_DOMAIN_PARDISO}};
  const int threads = qsl_get_max_threads();
  text->append(" NThr:%d", threads);
  for (const Domain& domain : domains) {
    const int count = qsl_get_domain_threads(domain.domain);
    if (count != threads) text->append(",%s:%d", domain.name, count);
  }
}

void append_interface(qsl::TextBuffer* text, int kind) {
  switch (kind) {
    case 0:
      return;
    case -2:
      text->append(" %s", "stdcall");
      return;
    case -1:
      text->append(" %s", "cdecl");
      return;
    case 2:
      text->append(" %s", "ilp64");
      return;
    case 1:
      text->append(" %s", "lp64");
      return;
    default:
      text->append(" iface%x", static_cast<unsigned>(kind));
      return;
  }
}

// A line to the output file, which is opened for each, or to standard output.
void print_line(const char* prefix, const char* call_text, const char* separator,
                const char* state_text) {
  constexpr char kFormat[] = "%s%s%s%s\n";
  const char* path = qsl_verbose_file();
  if (path[0] != '\0') {
    if (QslStream* stream = qsl_stream_open_append(path)) {
      qsl_fprint_line(stream, kFormat, 4, prefix, call_text, separator, state_text);
      qsl_stream_close(stream);
      return;
    }
    qsl_print_line(0, "QSL_VERBOSE WARNING: %s\n", 1,
                   "unable to open output file. Print to STDOUT");
  }
  qsl_print_line(0, kFormat, 4, prefix, call_text, separator, state_text);
}

void print_banner(int interface_kind) {
  char buffer[kTextSize];
  qsl_version version;
  qsl_get_version(&version);
  qsl::TextBuffer text(buffer, sizeof buffer);
  text.append("QSL_VERBOSE Arvex(R) QSL %d.%d", version.major, version.minor);
  if (version.update > 0) text.append(" Update %d", version.update);
  text.append(" %s build %s for %s %s", version.product_status, version.build, version.processor,
              version.platform);
  text.append(", %s", qsl::platform::kName);
  text.append(" %.2fGHz", qsl::processor_frequency() / 1e9);
  append_interface(&text, interface_kind);
  text.append(" %s", "sequential");
  print_line(buffer, "", "", "");
}

}  // namespace

extern "C" void qsl_verbose_print(int interface_kind, const char* call_text, double seconds) {
  char buffer[kTextSize];
  qsl::TextBuffer state(buffer, sizeof buffer);
  append_time(&state, seconds);
  append_reproducibility(&state);
  state.append(" Dyn:%d", qsl_get_dynamic());
  state.append(" FastMM:%d", qsl_mm_fast_disabled() ? 0 : 1);
  state.append(" TID:%-2d", 0);
  append_threads(&state);
  if (!__atomic_load_n(&banner_printed, __ATOMIC_ACQUIRE)) {
    qsl::LockGuard guard(&qsl::banner_lock);
    if (!banner_printed) {
      print_banner(interface_kind);
      __atomic_store_n(&banner_printed, true, __ATOMIC_RELEASE);
    }
  }
  print_line("QSL_VERBOSE ", call_text, " ", buffer);
}
