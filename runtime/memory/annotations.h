// What helgrind can't see by itself: the memory manager's locks, the words that threads read and
// write without one, and blocks that change hands through such a word. Built with QSL_HELGRIND
// these are requests to the tool; otherwise they are nothing.
#pragma once

#ifdef QSL_HELGRIND

#include <valgrind/helgrind.h>

#define QSL_NOTE_LOCKED(word, exclusive) ANNOTATE_RWLOCK_ACQUIRED(word, exclusive)
#define QSL_NOTE_UNLOCKING(word, exclusive) ANNOTATE_RWLOCK_RELEASED(word, exclusive)
#define QSL_NOTE_ATOMIC_WORDS(start, size) VALGRIND_HG_DISABLE_CHECKING(start, size)
#define QSL_NOTE_HANDED_OVER(word) ANNOTATE_HAPPENS_BEFORE(word)
#define QSL_NOTE_TAKEN_OVER(word) ANNOTATE_HAPPENS_AFTER(word)

#else

#define QSL_NOTE_LOCKED(word, exclusive) static_cast<void>(0)
#define QSL_NOTE_UNLOCKING(word, exclusive) static_cast<void>(0)
#define QSL_NOTE_ATOMIC_WORDS(start, size) static_cast<void>(0)
#define QSL_NOTE_HANDED_OVER(word) static_cast<void>(0)
#define QSL_NOTE_TAKEN_OVER(word) static_cast<void>(0)

#endif
