// The optional allocator library, whose symbols hold pointers to its functions.
#include <cstdlib>

#include "tests/memory/stand_ins.h"

#ifdef _WIN32
#include <windows.h>
#endif

namespace memory_test {
namespace {

using Malloc = void* (*)(std::size_t);

class OptionalAllocator : public Memory {
 protected:
  static const char* name() { return qsl::platform::kAllocatorModuleNames[0]; }
  static bool is_c_runtime(const qsl::platform::Allocator& found) {
    const qsl::platform::Allocator own = qsl::platform::c_allocator();
    return found.malloc == own.malloc && found.calloc == own.calloc &&
           found.realloc == own.realloc && found.free == own.free;
  }
};

TEST_F(OptionalAllocator, WithoutTheLibraryTheCRuntimeServes) {
  EXPECT_TRUE(is_c_runtime(find_allocator()));
}

TEST_F(OptionalAllocator, LibraryInUseByTheProgramIsTaken) {
  StandIn stand_in("amalloc", name());
  const qsl::platform::Allocator found = find_allocator();
  EXPECT_FALSE(is_c_runtime(found));
  EXPECT_EQ(found.malloc, *stand_in.symbol<Malloc>("a_malloc_dll"));
}

TEST_F(OptionalAllocator, ForeignBlocksGetNoInnerHeader) {
  StandIn stand_in("amalloc", name());
  int* const live = stand_in.symbol<int>("amalloc_live");
  ASSERT_NE(live, nullptr);
  ensure_setup();
  EXPECT_EQ(back_end.malloc, *stand_in.symbol<Malloc>("a_malloc_dll"));
  EXPECT_EQ(back_end.free, bound_allocator.free);
  EXPECT_EQ(back_end.realloc, bound_allocator.realloc);
  void* p = QSL_malloc(100, 64);
  EXPECT_EQ(*live, 3);  // the block, the table, the record
  void* fast = qsl_mm_allocate(100, 64);
  EXPECT_EQ(*live, 4);
  qsl_mm_deallocate(fast);
  QSL_free(p);
  QSL_Free_Buffers();
  EXPECT_EQ(*live, 0);
}

TEST_F(OptionalAllocator, MissingSymbolOrNullPointerMeansTheCRuntime) {
  for (const char* folder : {"amalloc_part", "amalloc_null"}) {
    StandIn stand_in(folder, name());
    EXPECT_TRUE(is_c_runtime(find_allocator())) << folder;
  }
}

#ifndef _WIN32
TEST_F(OptionalAllocator, LibraryThatHandsOutTheCRuntimeKeepsTheInnerHeader) {
  StandIn stand_in("amalloc_crt", name());
  ensure_setup();
  EXPECT_EQ(back_end.malloc, &internal_malloc);
}
#endif

// The library can be found, but nobody keeps it loaded: its functions are gone once it is freed.
TEST_F(OptionalAllocator, LibraryThatIsUnloadedAgainIsNotTaken) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "the sanitizer's own dlopen ignores this program's search path";
#endif
#ifdef _WIN32
  SetDllDirectoryA((program_folder() + "/amalloc").c_str());
#endif
  qsl::platform::Module* module = qsl::platform::module_load(name());
  EXPECT_NE(module, nullptr) << "the test's own search path";
  qsl::platform::module_free(module);
  EXPECT_TRUE(is_c_runtime(find_allocator()));
  QSL_free(QSL_malloc(100, 64));
#ifdef _WIN32
  SetDllDirectoryA(nullptr);
#endif
}

}  // namespace
}  // namespace memory_test
