// The C runtime that the library finds in the process: a plug-in that brought it may be unloaded
// while the library still allocates through it.
#include <windows.h>

#include <string>

#include <gtest/gtest.h>

namespace {

std::string program_folder() {
  char path[MAX_PATH];
  GetModuleFileNameA(nullptr, path, sizeof path);
  const std::string text = path;
  return text.substr(0, text.find_last_of("\\/"));
}

TEST(LateCrt, OutlivesTheProgramsOwnReference) {
  const HMODULE crt = LoadLibraryA((program_folder() + "/crt_standin/APPCRT140.DLL").c_str());
  ASSERT_NE(crt, nullptr);
  const auto* live = reinterpret_cast<volatile LONG*>(GetProcAddress(crt, "crt_live"));
  ASSERT_NE(live, nullptr);
  const HMODULE library = LoadLibraryA(QSL_LIBRARY);
  ASSERT_NE(library, nullptr);
  const auto symbol = [library](const char* name) {
    return reinterpret_cast<void*>(GetProcAddress(library, name));
  };
  const auto allocate = reinterpret_cast<void* (*)(std::size_t, int)>(symbol("QSL_malloc"));
  const auto release = reinterpret_cast<void (*)(void*)>(symbol("QSL_free"));
  const auto release_all = reinterpret_cast<void (*)()>(symbol("QSL_Free_Buffers"));
  const LONG before = *live;
  void* p = allocate(1000, 64);
  ASSERT_NE(p, nullptr);
  EXPECT_GT(*live, before) << "the stand-in is the allocator";
  FreeLibrary(crt);
  ASSERT_NE(GetModuleHandleA("APPCRT140.DLL"), nullptr);
  release(p);
  release(allocate(2000, 64));
  release_all();
  EXPECT_EQ(*live, before);
}

}  // namespace
