// The C runtime that was found at run time.
#pragma once

#include "runtime/platform/platform.h"

namespace qsl::platform {

// The module of the C runtime that the library bound, or null when none is in reach.
Module* late_crt_module();

}  // namespace qsl::platform
