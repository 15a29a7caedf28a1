// What a call prints on standard output, for tests of calls that print nothing. (What the library
// prints, it flushes. Where it prints through a C runtime that is not the program's, nothing is
// seen here: tests/frame/support.h has the way for programs that hold the library's objects.)
#pragma once

#include <gtest/gtest.h>

#include <string>

template <class Call>
std::string printed_by(const Call& call) {
  testing::internal::CaptureStdout();
  call();
  return testing::internal::GetCapturedStdout();
}
