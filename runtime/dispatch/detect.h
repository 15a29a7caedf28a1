// Detection of the raw processor type, before any message or folding.
#pragma once

namespace qsl {

// The raw type from the override, the processor and the permission flags; -1 when the processor is
// below the minimum (SSE2). Prints nothing.
int detect_raw_type();

// Prints why a processor below the minimum is refused.
void report_below_minimum();

}  // namespace qsl
