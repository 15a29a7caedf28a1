// A forked child has one thread, the one that forked. What other threads were doing at that moment
// stays half done in it, and a lock that one of them held would be held for ever.
#pragma once

namespace qsl {

// From now on a forked child finds every lock of the library free. Called before a lock is taken,
// so that a process which is merely linked with the library forks as it would without.
void survive_forks();

// False while no lock was ever taken: then there is nothing to release either.
bool any_lock_was_taken();

}  // namespace qsl
