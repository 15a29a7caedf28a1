#include "runtime/memory/high_bandwidth.h"

#include "runtime/dispatch/features.h"
#include "runtime/memory/atomic.h"
#include "runtime/memory/locks.h"
#include "runtime/memory/settings.h"
#include "runtime/messages/messages.h"
#include "runtime/platform/platform.h"
#include "runtime/verbose/verbose.h"

namespace qsl::memory {

HighBandwidth high_bandwidth = {};
std::uint32_t hbw_limit = kNoLimit;
volatile int hbw_limit_lock = 0;

namespace {

constexpr int kMinimumVersion = 1001000;

// The page kinds of hbw_posix_memalign_psize.
constexpr int kKindSmall = 1;
constexpr int kKindLarge = 2;

HighBandwidth resolve(platform::Module* module) {
  using Version = int (*)();
  const auto version =
      reinterpret_cast<Version>(platform::module_symbol(module, "memkind_get_version"));
  if (version == nullptr || version() < kMinimumVersion) {
    if (*qsl_verbose_mode_ptr() != 0) {
      qsl_print_line(0, "%s\n", 1, "Minimal supported version of the memkind library is 1.1.0");
    }
    return {};
  }
  HighBandwidth found;
  found.allocate = reinterpret_cast<decltype(found.allocate)>(
      platform::module_symbol(module, "hbw_posix_memalign_psize"));
  found.free = reinterpret_cast<decltype(found.free)>(platform::module_symbol(module, "hbw_free"));
  if (found.allocate == nullptr || found.free == nullptr) return {};
  return found;
}

void* allocate_pages(std::uint32_t size, std::uint32_t page, int kind) {
  void* block = nullptr;
  return high_bandwidth.allocate(&block, page, size, kind) == 0 ? block : nullptr;
}

void* allocate_any(std::uint32_t size, std::uint32_t* page) {
  *page = kLargePage;
  if (void* block = allocate_pages(size, kLargePage, kKindLarge)) return block;
  *page = kSmallPage;
  return allocate_pages(size, kSmallPage, kKindSmall);
}

}  // namespace

void open_high_bandwidth() {
  high_bandwidth = {};
  if (!has_features(QSL_FEAT_AVX512_MIC, QSL_FEAT_HIGH_AVX512_MIC)) return;
  for (const char* const* name = platform::kMemkindModuleNames; *name != nullptr; ++name) {
    platform::Module* module = platform::module_load_wide(*name);
    if (module == nullptr) continue;
    high_bandwidth = resolve(module);
    // A library in use stays loaded: its blocks may outlive everything here.
    if (high_bandwidth.free == nullptr) platform::module_free(module);
    return;
  }
}

void* allocate_high_bandwidth(std::uint32_t size, std::uint32_t* page) {
  if (high_bandwidth.allocate == nullptr) return nullptr;
  const std::uint32_t limit = observe(hbw_limit);
  if (limit == kNoLimit) return allocate_any(size, page);
  if (limit == 0) return nullptr;
  Guard guard(&hbw_limit_lock);
  if (hbw_limit <= size) return nullptr;
  void* block = allocate_any(size, page);
  if (block != nullptr) publish(hbw_limit, hbw_limit - size);
  return block;
}

void free_high_bandwidth(void* block, std::uint32_t size) {
  if (observe(hbw_limit) != kNoLimit) {
    Guard guard(&hbw_limit_lock);
    publish(hbw_limit, hbw_limit + size);
  }
  high_bandwidth.free(block);
}

}  // namespace qsl::memory
