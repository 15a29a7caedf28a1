// Loads the stand-ins for optional libraries, which lie in folders beside this program.
#pragma once

#include <string>

#include "runtime/platform/platform.h"
#include "tests/memory/support.h"

namespace memory_test {

// A stand-in that is loaded for the scope, as a program that uses the library itself has it.
class StandIn {
 public:
  explicit StandIn(const std::string& folder, const std::string& name)
      : module_(
            qsl::platform::module_load((program_folder() + "/" + folder + "/" + name).c_str())) {
    EXPECT_NE(module_, nullptr) << folder;
  }
  ~StandIn() { qsl::platform::module_free(module_); }
  StandIn(const StandIn&) = delete;
  StandIn& operator=(const StandIn&) = delete;

  // Gives back a reference that the library keeps for ever.
  void drop_reference() { qsl::platform::module_free(module_); }

  qsl::platform::Module* module() const { return module_; }

  template <typename T>
  T* symbol(const char* name) const {
    return reinterpret_cast<T*>(qsl::platform::module_symbol(module_, name));
  }

 private:
  qsl::platform::Module* module_;
};

}  // namespace memory_test
