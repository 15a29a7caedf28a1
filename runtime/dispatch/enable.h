// QSL_ENABLE_INSTRUCTIONS: the user's upper limit on the instruction set.
#pragma once

extern "C" {
extern int qsl_enable_parsed;  // 1 once the variable has been read
extern int qsl_enable_level;   // the keyword's level, -1 for none
extern int qsl_enable_sse42, qsl_enable_avx, qsl_enable_avx2, qsl_enable_avx512, qsl_enable_mic,
    qsl_enable_mic_e1;
}

namespace qsl {

// Reads the variable and applies it to the permission flags. Not guarded: the caller tests
// qsl_enable_parsed, and two readers at once write the same values.
void apply_enable_instructions();

}  // namespace qsl
