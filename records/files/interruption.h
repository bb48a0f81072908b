// Signals that ask a run to end: the handler sets a flag, the run looks at it between blocks and unwinds, so that every
// temporary is removed and what stood there before stays. SIGPIPE and SIGXFSZ become errors of the write that met them.
#ifndef ZVRT_RECORDS_FILES_INTERRUPTION_H
#define ZVRT_RECORDS_FILES_INTERRUPTION_H

#include <pthread.h>

namespace zvrt::records {

// For the program's main: SIGINT, SIGTERM, SIGHUP and SIGQUIT set the flag.
void watch_signals();

// Throws a Failure that names the signal if one came.
void check_interruption();
bool was_interrupted();

// A run of several threads that one of them ends: check_interruption() throws in all of them until `value` is false again.
void abandon(bool value);
// A call that a thread waits in, to read or write, returns EINTR.
void wake(pthread_t thread);

}  // namespace zvrt::records

#endif
