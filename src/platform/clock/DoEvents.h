#pragma once

namespace telvo::platform {

// The one yield of the program: every waiting loop is `while (cond) DoEvents();`.
// Processes pending events and due timers; when nothing is pending it sleeps in the event loop
// until something arrives (no busy spin). Under the virtual clock it jumps to the next
// scheduled event instead. Rethrows the end of the program inside nested waits.
void DoEvents();

// The single yield of a routine that is busy rather than waiting: what is pending and due runs,
// and it returns at once when nothing is.
void DoEventsOnce();

} // namespace telvo::platform
