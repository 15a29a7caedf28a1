// Processes that exit while other threads are still allocating: none may crash or hang.
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "tests/memory/support.h"

namespace memory_test {
namespace {

constexpr int kExpected = 7;

int exit_code_of(const std::string& program, int microseconds) {
  const std::string command =
      "\"" + program_folder() + "/" + program + "\" " + std::to_string(microseconds);
#ifdef _WIN32
  return std::system(("\"" + command + "\"").c_str());
#else
  const int status = std::system(command.c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
#endif
}

int repetitions() {
  const char* text = std::getenv("QSL_EXIT_REPETITIONS");
  return text != nullptr ? std::atoi(text) : 80;
}

void exit_many_times(const std::string& program) {
  for (int i = 0; i < repetitions(); ++i) {
    ASSERT_EQ(exit_code_of(program, i % 40 * 100), kExpected) << "run " << i;
  }
}

TEST(Exit, WhileThreadsUseTheExports) { exit_many_times("memory_exit_exports"); }

TEST(Exit, WhileThreadsUseTheFastLayer) { exit_many_times("memory_exit_fast"); }

}  // namespace
}  // namespace memory_test
