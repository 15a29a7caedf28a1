// Time stamps and the processor's frequency.
#pragma once

namespace qsl {

// The processor's nominal frequency in hertz: from its brand string, else as measured.
double processor_frequency();

// The two ways to measure the frequency of the time-stamp counter, in hertz. The first takes some
// milliseconds, and 0 is its answer where a counter gives nothing; the second is the last resort.
double frequency_by_clock();
double frequency_by_loop();

// Guards the one measurement.
extern volatile int clock_lock;

// Frequency in hertz from the last 16 characters of a brand string; 0 when they name none.
double brand_frequency(const char* tail);

}  // namespace qsl
