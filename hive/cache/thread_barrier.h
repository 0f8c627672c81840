// A barrier that one thread puts into all threads of the process: what each of them did before it is seen here, and
// what it does afterwards sees what was done here. Where many read and few change, it lets readers go without barriers
// of their own.
#pragma once

namespace hive {

// Whether the system can do it for this process; settled at the first question.
bool has_thread_barrier();

// False when the system refuses: nothing is known of the others then. Takes microseconds, or nothing while there is one
// thread only.
bool pass_thread_barrier();

}  // namespace hive
