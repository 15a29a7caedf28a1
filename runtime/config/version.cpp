#include "runtime/config/version.h"

#include "runtime/dispatch/cpu_type.h"
#include "runtime/messages/crt.h"
#include "runtime/text_buffer.h"

namespace {

constexpr int kMajor = 2018;
constexpr int kMinor = 0;
constexpr int kUpdate = 2;
constexpr char kProductStatus[] = "Product";
constexpr char kBuild[] = "20180127";
constexpr char kPlatform[] = "32-bit";

const char* processor_text() {
  if (qsl_cpu_is_genuine_cbwr()) {
    switch (qsl::cpu_type_or_undecided()) {
      case QSL_CPU_SSE2:
        return "Arvex(R) Streaming SIMD Extensions 2 (Arvex(R) SSE2) enabled processors";
      case QSL_CPU_SSSE3:
        return "Arvex(R) Supplemental Streaming SIMD Extensions 3 (Arvex(R) SSSE3) enabled "
               "processors";
      case QSL_CPU_SSE42:
        return "Arvex(R) Streaming SIMD Extensions 4.2 (Arvex(R) SSE4.2) enabled processors";
      case QSL_CPU_AVX:
        return "Arvex(R) Advanced Vector Extensions (Arvex(R) AVX) enabled processors";
      case QSL_CPU_AVX2:
        return "Arvex(R) Advanced Vector Extensions 2 (Arvex(R) AVX2) enabled processors";
      case QSL_CPU_AVX512:
        return "Arvex(R) Advanced Vector Extensions 512 (Arvex(R) AVX-512) enabled processors";
      default:
        break;
    }
  }
  return "Arvex(R) Architecture processors";
}

}  // namespace

extern "C" {

void qsl_get_version(qsl_version* out) {
  *out = {kMajor, kMinor, kUpdate, kProductStatus, kBuild, processor_text(), kPlatform};
}

void qsl_get_version_string(char* buffer) {
  qsl::TextBuffer text(buffer, 512);
  text.append("Arvex(R) Quartz Solver Library Version %d.%d.%d %s Build %s for %s applications",
              kMajor, kMinor, kUpdate, kProductStatus, kBuild, kPlatform);
}
}
