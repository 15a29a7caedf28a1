#include "runtime/messages/catalog.h"

namespace qsl {
namespace {

struct Text {
  int id;
  const char* text;
};

// The rows that the library prints. The others belong to facilities that it does not have; they are
// kept empty so that the numbers stay those of the external catalog.
constexpr Text kTexts[] = {
    {0, "\n"},
    {6, "Arvex QSL ERROR: Parameter %d was incorrect on entry to %s."},
    {7, "Arvex QSL INTERNAL ERROR: Condition %d detected in function %s."},
    {8, "Arvex QSL INTERNAL ERROR: Insufficient workspace available in function %s."},
    {9, "Arvex QSL ERROR: Incompatible optional parameters on entry to %s."},
    {735, "Error (VML_STATUS_BADSIZE) in %s: array size %d is not positive."},
    {736, "Error (VML_STATUS_BADMEM) in %s: NULL pointer is passed."},
    {737, "Error (VML_STATUS_ERRDOM) in %s: argument is out of domain."},
    {738, "Error (VML_STATUS_SING) in %s: argument caused singularity."},
    {739, "Error (VML_STATUS_OVERFLOW) in %s: argument caused overflow."},
    {740, "Error (VML_STATUS_UNDERFLOW) in %s: argument caused underflow."},
    {741, "Unknown error in %s."},
    {742, "a(%d)=%g"},
    {743, "r(%d)=%g"},
    {744, "a(%d)=%g"},
    {745, "y(%d)=%g"},
    {746, "z(%d)=%g"},
    {747, "a(%d)=%g"},
    {748, "b(%d)=%g"},
    {749, "y(%d)=%g"},
    {750, "a(%d)=%g"},
    {751, "b(%d)=%g"},
    {752, "y(%d)=%g"},
    {753, "z(%d)=%g"},
    {760, "Arvex QSL FATAL ERROR: memory allocation error."},
    {1089, "Arvex QSL INTERNAL ERROR: Not enough work memory in function %s"},
    {1209,
     "Arvex QSL WARNING: incorrect conditional numerical reproducibility mode, QSL_CBWR_AUTO is "
     "set"},
    {1210,
     "Arvex QSL FATAL ERROR: This system does not meet the minimum requirements for use of the "
     "Arvex(R) Quartz Solver Library."},
    {1211,
     "The processor must support the Arvex(R) Streaming SIMD 2 Extensions (Arvex(R) SSE2) "
     "instructions."},
    {1212, "Arvex QSL INTERNAL ERROR: Issue accessing coprocessor %s."},
    {1213, "Arvex QSL ERROR: CPU %d is not supported."},
};

struct Range {
  int first, last;
};

// The rows of kind 1: module-load and mismatch texts, parameter and vector-math errors, transform
// failures, processor refusals.
constexpr Range kErrors[] = {
    {1, 2}, {5, 9}, {735, 741}, {754, 759}, {762, 771}, {1089, 1089}, {1209, 1213},
};
constexpr int kFatal[] = {3, 4, 760, 1413};

constexpr MessageTable make_table() {
  MessageTable table = {};
  for (int id = 0; id < kMessageCount; ++id) table.rows[id] = {"", id + 1, 4};
  for (const Range& range : kErrors) {
    for (int id = range.first; id <= range.last; ++id) table.rows[id].kind = 1;
  }
  for (int id : kFatal) table.rows[id].kind = 2;
  for (const Text& text : kTexts) table.rows[text.id].text = text.text;
  table.rows[kMessageCount - 1].next_id = 0;
  table.rows[kMessageCount - 1].kind = 0;
  return table;
}

}  // namespace
}  // namespace qsl

extern "C" {
extern constexpr qsl::MessageTable qsl_message_table = qsl::make_table();
}
