// QSL_TEST_LEVELS, names of levels with commas between them, keeps an emulator or a sanitizer to
// the levels that it is there for.
#pragma once

#include <cstdlib>
#include <string>

inline bool level_is_listed(const std::string& name) {
  const char* listed = std::getenv("QSL_TEST_LEVELS");
  return listed == nullptr ||
         ("," + std::string(listed) + ",").find("," + name + ",") != std::string::npos;
}
