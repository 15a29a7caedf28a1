// Load and unload of the shared library.
//
// The destructor runs both when the library is unloaded and when the process exits, and can't tell
// which. Other threads may still be running in the second case, so the shut-down that it starts is
// safe beside them.
#include "runtime/lifecycle.h"

namespace {

[[gnu::constructor]] void on_load() { qsl_process_attach(); }
[[gnu::destructor]] void on_unload() { qsl_process_detach(false); }

}  // namespace
