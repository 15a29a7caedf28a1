// The optional allocator library, whose symbols hold pointers to its functions.
#include <cstdlib>

#include "tests/memory/stand_ins.h"

#ifdef _WIN32
#include <windows.h>
#endif

namespace memory_test {
namespace {

const char* const kName = qsl::platform::kAllocatorModuleNames[0];

using Malloc = void* (*)(std::size_t);

class OptionalAllocator : public Memory {
 protected:
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
  StandIn stand_in("amalloc", kName);
  const qsl::platform::Allocator found = find_allocator();
  EXPECT_FALSE(is_c_runtime(found));
  EXPECT_EQ(found.malloc, *stand_in.symbol<Malloc>("a_malloc_dll"));
  stand_in.drop_reference();
}

TEST_F(OptionalAllocator, ForeignBlocksGetNoInnerHeader) {
  StandIn stand_in("amalloc", kName);
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
  stand_in.drop_reference();
}

TEST_F(OptionalAllocator, MissingSymbolOrNullPointerMeansTheCRuntime) {
  for (const char* folder : {"amalloc_part", "amalloc_null"}) {
    StandIn stand_in(folder, kName);
    EXPECT_TRUE(is_c_runtime(find_allocator())) << folder;
  }
}

#ifndef _WIN32
TEST_F(OptionalAllocator, LibraryThatHandsOutTheCRuntimeKeepsTheInnerHeader) {
  StandIn stand_in("amalloc_crt", kName);
  ensure_setup();
  EXPECT_EQ(back_end.malloc, &internal_malloc);
  stand_in.drop_reference();
}
#endif

// Whether the library that is found by its name is used, and goes on to be there.
bool found_by_name() {
  const qsl::platform::Allocator found = find_allocator();
  void* block = found.malloc(100);
  found.free(block);
  qsl::platform::Module* module = qsl::platform::module_load(kName);
  if (module == nullptr) return false;
  const bool taken = found.malloc == *reinterpret_cast<Malloc*>(
                                         qsl::platform::module_symbol(module, "a_malloc_dll"));
  qsl::platform::module_free(module);
  return taken && block != nullptr;
}

TEST_F(OptionalAllocator, LibraryThatNobodyElseHasIsTakenAndKept) {
  const std::string folder = program_folder() + "/amalloc";
#ifdef _WIN32
  SetDllDirectoryA(folder.c_str());
  EXPECT_TRUE(found_by_name());
  qsl::platform::module_free(reinterpret_cast<qsl::platform::Module*>(GetModuleHandleA(kName)));
  SetDllDirectoryA(nullptr);
#else
  // The loader looks at its search path when a program starts.
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  setenv("LD_LIBRARY_PATH", folder.c_str(), 1);
  EXPECT_EXIT(std::_Exit(found_by_name() ? 40 : 41), testing::ExitedWithCode(40), "");
  unsetenv("LD_LIBRARY_PATH");
#endif
}

// The program that brought the allocator lets go of it while the library's blocks lie in it.
TEST_F(OptionalAllocator, OutlivesTheProgramsOwnReference) {
  void* plain;
  void* fast;
  qsl::platform::Module* module;
  {
    StandIn stand_in("amalloc", kName);
    module = stand_in.module();
    ensure_setup();
    ASSERT_EQ(back_end.malloc, *stand_in.symbol<Malloc>("a_malloc_dll"));
    plain = QSL_malloc(100, 64);
    fast = qsl_mm_allocate(100, 64);
  }
  QSL_free(QSL_malloc(1000, 64));
  QSL_free(plain);
  qsl_mm_deallocate(fast);
  QSL_Free_Buffers();
  qsl::platform::module_free(module);  // the library's own reference, which it never gives back
}

}  // namespace
}  // namespace memory_test
