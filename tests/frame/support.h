// What the tests of the frame share: a frame that can be put back to how it was loaded, a processor
// that can be made up, and ways to see what is printed and how the process would have ended.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "runtime/dispatch/cpu_type.h"
#include "runtime/dispatch/enable.h"
#include "runtime/dispatch/environment.h"
#include "runtime/dispatch/features.h"
#include "runtime/dispatch/lock.h"
#include "runtime/dispatch/override.h"
#include "runtime/dispatch/reproducibility.h"
#include "runtime/messages/messages.h"

extern "C" {
extern int qsl_cbwr_mode, qsl_cbwr_read;
extern int qsl_is_genuine, qsl_is_amd, qsl_has_fma4, qsl_is_mic_e1;
extern int qsl_msg_try_load, qsl_msg_use_builtin;
}

namespace frame_test {

// Sets an environment variable as the library sees it; a null value removes it.
void set_variable(const char* name, const char* value);

// Removes every variable that the library reads.
void clear_variables();

// What the function prints to standard output and flushes.
std::string printed(const std::function<void()>& function);

// The code with which the function ends the process, or kReturned.
inline constexpr int kReturned = -12345;
int exit_code_of(const std::function<void()>& function);
// The value of qsl_init_lock when the process was about to end.
int init_lock_at_exit();

// Runs the function in that many threads at once.
void race(int threads, const std::function<void()>& function);

// Path of this program and the folder it lies in.
std::string program_path();
std::string program_folder();

// What this program prints when it is started again with an argument, and its exit code.
std::string output_of_child(const std::string& argument, int* exit_code = nullptr);

// Feature words of processors, each with all that the ones before have.
inline constexpr std::uint64_t kNothing = 1;
inline constexpr std::uint64_t kSse2 = 0x7f;
inline constexpr std::uint64_t kSsse3 = kSse2 | 0x181;
inline constexpr std::uint64_t kSse41 = kSsse3 | 0x201;
inline constexpr std::uint64_t kSse42 = kSse41 | 0x1401;
inline constexpr std::uint64_t kAvx = kSse42 | 0x16001;
inline constexpr std::uint64_t kAvx2 = kAvx | 0x9c2001;
inline constexpr std::uint64_t kAvx512 = kAvx2 | 0x9000001 | (std::uint64_t{0x64} << 32);

// The frame as after load, with no variable set, on the processor that the tests run on.
class Frame : public ::testing::Test {
 public:
  static void reset();
  static void processor(bool preferred, std::uint64_t features) {
    qsl_is_genuine = preferred ? 1 : 0;
    qsl_cpu_features = features;
  }
  static void override_type(int type) {
    qsl_debug_cpu_state = 1;
    qsl_debug_cpu_value = type;
  }
  static void mode(int value) {
    qsl_cbwr_mode = value;
    qsl_cbwr_read = 1;
  }

 protected:
  void SetUp() override { reset(); }
  void TearDown() override { reset(); }
};

}  // namespace frame_test
