// What the tests of the memory manager share: a memory manager that can be put back to how it was
// loaded, a back end that counts and fails on request, and threads that end as the library sees it.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "qsl/memory.h"
#include "runtime/memory/back_end.h"
#include "runtime/memory/buffers.h"
#include "runtime/memory/high_bandwidth.h"
#include "runtime/memory/locks.h"
#include "runtime/memory/memory.h"
#include "runtime/memory/plain.h"
#include "runtime/memory/record.h"
#include "runtime/memory/registry.h"
#include "runtime/memory/settings.h"
#include "runtime/memory/setup.h"
#include "runtime/memory/statistics.h"

namespace memory_test {

using namespace qsl::memory;

// Sets an environment variable as the library sees it; a null value removes it.
void set_variable(const char* name, const char* value);

// Folder of this program.
std::string program_folder();

// Runs the function on a thread of its own, to the thread's end as the library sees it.
void on_thread(const std::function<void()>& function);
// The library's part of a thread's end, where no hook of the system does it.
void end_thread();

// A back end in front of the internal one. It counts, and fails the calls that it is told to.
struct CountingBackEnd {
  CountingBackEnd();
  ~CountingBackEnd();
  // Fails the call that follows `successes` good ones, and `failures` - 1 after it.
  static void fail(int successes, int failures = 1);
  static void fail_all();
  static void fail_none();
  static int made();               // blocks asked for and got
  static int refused();            // calls that were failed
  static int live();               // blocks not yet given back
  static std::size_t last_size();  // bytes of the last block asked for
};

// Each test begins with nothing set up, registered or counted.
class Memory : public ::testing::Test {
 public:
  static void reset();

 protected:
  void SetUp() override { reset(); }
  void TearDown() override { reset(); }
};

inline std::uint32_t address(const void* p) {
  return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(p));
}

inline const OuterHeader& outer_header(const void* p) {
  return static_cast<const OuterHeader*>(p)[-1];
}

inline const InnerHeader& inner_header(const void* block) {
  return static_cast<const InnerHeader*>(block)[-1];
}

// Pairs summed over all records and the totals.
Totals statistics();

// A record as found by the calling thread's ticket, null when there is none.
ThreadRecord* own_record();

}  // namespace memory_test
