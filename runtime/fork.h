// A forked child has one thread, the one that forked. What other threads were doing at that moment
// stays half done in it, and a lock that one of them held would be held for ever.
#pragma once

namespace qsl {

// Has a forked child find every lock of the library free. Called at load, before a program can have
// handlers of its own that take its locks: those are then taken before the library's, as they are
// by a call that it makes under them.
void survive_forks();

// Told by every lock that is taken. While there was none a fork goes on as without the library.
void note_lock();

// False while no lock was ever taken: then there is nothing to release either.
bool any_lock_was_taken();

}  // namespace qsl
