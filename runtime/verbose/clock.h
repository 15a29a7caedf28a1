// Time stamps and the processor's frequency.
#pragma once

namespace qsl {

// The processor's nominal frequency in hertz: from its brand string, else as measured.
double processor_frequency();

// Frequency in hertz from the last 16 characters of a brand string; 0 when they name none.
double brand_frequency(const char* tail);

}  // namespace qsl
