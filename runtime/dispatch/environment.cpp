#include "runtime/dispatch/environment.h"

#include "runtime/platform/platform.h"
#include "runtime/text.h"

extern "C" {

int qsl_getenv_guard = 0;

int qsl_getenv(const char* name, char* buffer, int size) {
  if (name == nullptr || buffer == nullptr || size <= 0) return 0;
  buffer[0] = '\0';
  if (qsl_getenv_guard > 0) {
    static const char* const readable[] = {"MIC_LD_LIBRARY_PATH", "LD_LIBRARY_PATH", "QSLROOT",
                                           "LANG"};
    bool found = false;
    for (const char* candidate : readable) found = found || qsl::text_equal(name, candidate);
    if (!found) return 0;
  }
  const std::size_t length =
      qsl::platform::environment(name, buffer, static_cast<std::size_t>(size));
  if (length >= static_cast<std::size_t>(size)) {
    buffer[0] = '\0';
    return -static_cast<int>(length);
  }
  if (length == 0) buffer[0] = '\0';
  return static_cast<int>(length);
}
}
