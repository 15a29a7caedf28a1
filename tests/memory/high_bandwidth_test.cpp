// High-bandwidth memory, on a pretended many-core processor and with stand-ins for memkind.
#include <cstring>
#include <optional>
#include <thread>
#include <vector>

#include "runtime/dispatch/features.h"
#include "runtime/verbose/verbose.h"
#include "tests/memory/modules/memkind.h"
#include "tests/memory/stand_ins.h"

namespace memory_test {
namespace {

constexpr std::uint64_t kManyCore =
    QSL_FEAT_AVX512_MIC | (std::uint64_t{QSL_FEAT_HIGH_AVX512_MIC} << 32);
constexpr char kNoOldMemkind[] = "Minimal supported version of the memkind library is 1.1.0";

// What the function prints. On Windows the library prints through a C runtime of its own choice, of
// which this program sees nothing.
template <typename Function>
void expect_printed([[maybe_unused]] const std::string& text, const Function& function) {
  testing::internal::CaptureStdout();
  function();
  const std::string printed = testing::internal::GetCapturedStdout();
#ifndef _WIN32
  EXPECT_EQ(printed, text);
#endif
}

class HighBandwidth : public Memory {
 protected:
  void SetUp() override {
    reset();
    features_ = qsl_cpu_features;
    qsl_cpu_features = kManyCore;
    *qsl_verbose_mode_ptr() = 0;
  }
  void TearDown() override {
    QSL_Free_Buffers();
    if (present()) stand_in_->drop_reference();
    stand_in_.reset();
    qsl_cpu_features = features_;
    *qsl_verbose_mode_ptr() = 0;
    reset();
  }

  // Sets up with this stand-in and limit.
  void set_up_with(const char* folder, const char* limit = nullptr) {
    stand_in_.emplace(folder, qsl::platform::kMemkindModuleNames[0]);
    state_ = stand_in_->symbol<MemkindStandIn>("stand_in");
    ASSERT_NE(state_, nullptr);
    *state_ = {};
    set_variable("QSL_FAST_MEMORY_LIMIT", limit);
    ensure_setup();
  }
  bool present() const { return high_bandwidth.allocate != nullptr; }

  std::optional<StandIn> stand_in_;
  MemkindStandIn* state_ = nullptr;

 private:
  std::uint64_t features_ = 0;
};

TEST_F(HighBandwidth, AbsentWithoutTheLibrary) {
  ensure_setup();
  EXPECT_FALSE(present());
  void* block = back_end.malloc(100);
  EXPECT_EQ(inner_header(block).is_hbw, 0u);
  back_end.free(block);
}

TEST_F(HighBandwidth, AbsentOnOtherProcessors) {
  for (std::uint64_t features :
       {std::uint64_t{QSL_FEAT_AVX2}, std::uint64_t{QSL_FEAT_AVX512_MIC}, kManyCore & ~(1ull << 32),
        kManyCore & ~(1ull << 34), (std::uint64_t{QSL_FEAT_HIGH_AVX512_MIC} << 32) | 1}) {
    reset();
    qsl_cpu_features = features;
    set_up_with("memkind_new");
    EXPECT_FALSE(present()) << std::hex << features;
    stand_in_.reset();
  }
}

TEST_F(HighBandwidth, TooOldALibraryIsAbsent) {
  expect_printed("", [&] { set_up_with("memkind_old"); });
  EXPECT_FALSE(present());
}

TEST_F(HighBandwidth, TooOldALibraryIsReportedInVerboseMode) {
  *qsl_verbose_mode_ptr() = 1;
  expect_printed(std::string(kNoOldMemkind) + "\n", [&] { set_up_with("memkind_old"); });
  EXPECT_FALSE(present());
}

TEST_F(HighBandwidth, LibraryWithoutVersionIsReportedInVerboseMode) {
  *qsl_verbose_mode_ptr() = 1;
  expect_printed(std::string(kNoOldMemkind) + "\n", [&] { set_up_with("memkind_bare"); });
  EXPECT_FALSE(present());
}

TEST_F(HighBandwidth, LibraryWithoutFreeIsAbsent) {
  *qsl_verbose_mode_ptr() = 1;
  expect_printed("", [&] { set_up_with("memkind_part"); });
  EXPECT_FALSE(present());
}

TEST_F(HighBandwidth, LargePagesFirst) {
  set_up_with("memkind_new");
  ASSERT_TRUE(present());
  void* block = back_end.malloc(1000);
  const InnerHeader& header = inner_header(block);
  EXPECT_EQ(header.self, &header);
  EXPECT_EQ(header.is_hbw, 1u);
  EXPECT_EQ(header.bytes, 1016u);
  EXPECT_EQ(header.page, 2097152u);
  EXPECT_EQ(state_->calls, 1);
  EXPECT_EQ(state_->last_alignment, 2097152u);
  EXPECT_EQ(state_->last_size, 1016u);
  EXPECT_EQ(state_->last_kind, 2);
  back_end.free(block);
  EXPECT_EQ(state_->live, 0);
  EXPECT_EQ(hbw_limit, kNoLimit);
}

TEST_F(HighBandwidth, SmallPagesWhereLargeOnesFail) {
  set_up_with("memkind_new");
  state_->fail_large = 1;
  void* block = back_end.malloc(1000);
  EXPECT_EQ(inner_header(block).is_hbw, 1u);
  EXPECT_EQ(inner_header(block).page, 4096u);
  EXPECT_EQ(state_->calls, 2);
  EXPECT_EQ(state_->last_alignment, 4096u);
  EXPECT_EQ(state_->last_kind, 1);
  back_end.free(block);
  EXPECT_EQ(state_->live, 0);
}

TEST_F(HighBandwidth, PlainMemoryWhereBothFail) {
  set_up_with("memkind_new", "10");
  state_->fail_large = state_->fail_small = 1;
  void* block = back_end.malloc(1000);
  EXPECT_EQ(inner_header(block).is_hbw, 0u);
  EXPECT_EQ(inner_header(block).page, 4096u);
  EXPECT_EQ(state_->calls, 2);
  EXPECT_EQ(hbw_limit, 10u << 20);
  back_end.free(block);
  EXPECT_EQ(hbw_limit, 10u << 20);
}

TEST_F(HighBandwidth, LimitZeroMeansNone) {
  set_up_with("memkind_new", "0");
  void* block = back_end.malloc(1000);
  EXPECT_EQ(inner_header(block).is_hbw, 0u);
  EXPECT_EQ(state_->calls, 0);
  back_end.free(block);
  EXPECT_EQ(hbw_limit, 0u);
}

TEST_F(HighBandwidth, LimitMinusOneMeansAnyNumber) {
  set_up_with("memkind_new", "-1");
  std::vector<void*> blocks;
  for (int i = 0; i < 10; ++i) blocks.push_back(back_end.malloc(1 << 20));
  for (void* block : blocks) EXPECT_EQ(inner_header(block).is_hbw, 1u);
  EXPECT_EQ(hbw_limit, kNoLimit);
  for (void* block : blocks) back_end.free(block);
  EXPECT_EQ(hbw_limit, kNoLimit);
}

TEST_F(HighBandwidth, LimitIsUsedUpAndGivenBack) {
  set_up_with("memkind_new", "1");
  constexpr std::uint32_t kLimit = 1 << 20;
  void* whole = back_end.malloc(kLimit - 16);  // exactly the limit: too much
  EXPECT_EQ(inner_header(whole).is_hbw, 0u);
  EXPECT_EQ(state_->calls, 0);
  void* nearly = back_end.malloc(kLimit - 17);
  EXPECT_EQ(inner_header(nearly).is_hbw, 1u);
  EXPECT_EQ(hbw_limit, 1u);
  void* another = back_end.malloc(1);
  EXPECT_EQ(inner_header(another).is_hbw, 0u);
  back_end.free(another);
  back_end.free(whole);
  EXPECT_EQ(hbw_limit, 1u);
  back_end.free(nearly);
  EXPECT_EQ(hbw_limit, kLimit);
  EXPECT_EQ(state_->live, 0);
}

TEST_F(HighBandwidth, ReallocMovesTheBlockAndItsShareOfTheLimit) {
  set_up_with("memkind_new", "1");
  constexpr std::uint32_t kLimit = 1 << 20;
  char* block = static_cast<char*>(back_end.malloc(100));
  for (int i = 0; i < 100; ++i) block[i] = static_cast<char>(i);
  block = static_cast<char*>(back_end.realloc(block, 5000));
  EXPECT_EQ(inner_header(block).is_hbw, 1u);
  EXPECT_EQ(hbw_limit, kLimit - 5016);
  for (int i = 0; i < 100; ++i) ASSERT_EQ(block[i], i);
  block = static_cast<char*>(back_end.realloc(block, kLimit));
  EXPECT_EQ(inner_header(block).is_hbw, 0u);
  EXPECT_EQ(hbw_limit, kLimit);
  for (int i = 0; i < 100; ++i) ASSERT_EQ(block[i], i);
  block = static_cast<char*>(back_end.realloc(block, 50));
  for (int i = 0; i < 50; ++i) ASSERT_EQ(block[i], i);
  back_end.free(block);
  EXPECT_EQ(state_->live, 0);
  EXPECT_EQ(hbw_limit, kLimit);
}

TEST_F(HighBandwidth, BothLayersUseIt) {
  set_up_with("memkind_new");
  void* plain = QSL_malloc(1000, 64);
  EXPECT_EQ(inner_header(outer_header(plain).raw).is_hbw, 1u);
  void* fast = qsl_mm_allocate(1000, 64);
  EXPECT_EQ(inner_header(own_record()->base[0]).is_hbw, 1u);
  qsl_mm_deallocate(fast);
  QSL_free(plain);
  QSL_Free_Buffers();
  EXPECT_EQ(state_->live, 0);
}

TEST_F(HighBandwidth, LimitHoldsBetweenThreads) {
  set_up_with("memkind_new", "4");
  std::vector<std::thread> threads;
  for (unsigned t = 0; t < 4; ++t) {
    threads.emplace_back([t] {
      std::vector<void*> blocks;
      for (unsigned i = 0; i < 500; ++i) {
        blocks.push_back(back_end.malloc(1000 + 1000 * ((i + t) % 100)));
        if (blocks.size() > 8) {
          back_end.free(blocks.front());
          blocks.erase(blocks.begin());
        }
      }
      for (void* block : blocks) back_end.free(block);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(hbw_limit, 4u << 20);
  EXPECT_EQ(state_->live, 0);
}

TEST_F(HighBandwidth, ModuleNameWithAPathSeparatorIsRefused) {
  const std::string path =
      program_folder() + "/memkind_new/" + qsl::platform::kMemkindModuleNames[0];
  EXPECT_EQ(qsl::platform::module_load_wide(path.c_str()), nullptr);
}

}  // namespace
}  // namespace memory_test
