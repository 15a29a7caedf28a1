// What this program does when it is started again, and the ways to see it.
#pragma once

#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "tests/frame/support.h"

namespace lapack_test {

// Calls with the lines of verbose mode that they should have.
int make_verbose_calls();
// Calls that copy their operands.
int make_copies();
// The decision about the search for NaN, as it is first made, later and in a solver's status.
int print_nan_decision();

}  // namespace lapack_test
