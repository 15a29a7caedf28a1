// The numbered texts of the library.
#pragma once

namespace qsl {

inline constexpr int kMessageCount = 1415;

// One row of the catalog. `next_id` and `kind` are kept for the catalog's format; only the text is
// read.
struct MessageRow {
  const char* text;  // a printf format
  int next_id;       // id + 1; 0 in the last row
  int kind;          // 4 a text, 1 an error, 2 a fatal error, 0 the last row
};

struct MessageTable {
  MessageRow rows[kMessageCount];
};

}  // namespace qsl

extern "C" {
extern const qsl::MessageTable qsl_message_table;
}
