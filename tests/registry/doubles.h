// What the fronts call of libkernel32 and of the C library, seen by the test: the test program defines
// KvTotalUnblockKernelCritical, KvNotYetImplemented, the calls of guarded regions and sleep itself, and the
// dynamic linker prefers the program's definitions. Each goes on to the real one.
#ifndef KELVANE_TESTS_REGISTRY_DOUBLES_H
#define KELVANE_TESTS_REGISTRY_DOUBLES_H

#include <string>
#include <vector>

struct SehFrame;

namespace kvtest {

// The names given to KvNotYetImplemented since the last clear.
std::vector<std::string>& reported_names();

// The calls of guarded regions since the last clear, as "begin ", "end " and "except 1 " (with its argument).
std::string& guarded_regions();

// Runs inside KvNotYetImplemented when it is set.
void on_report(void (*function)());

// Runs inside SehExceptReturn2 when it is set, which is once for each fault that a guarded region bore.
void on_guarded_fault(void (*function)());

// Runs in place of SehBeginTry3 when it is set.
void on_guarded_begin(void (*function)(SehFrame*));

// What happens at the calls of a thread that parks. A fresh child process chooses one before it calls.
class Parking {
 public:
  // Each of KvTotalUnblockKernelCritical and sleep prints a line; the third sleep ends the process with
  // parked_status. A sleep returns at once, as one that a signal ends.
  static void print_and_end();
  // The same with a line before the first sleep that tells what look_around found.
  static void print_and_end(std::string (*look_around)());
  // Calls the function instead of sleeping.
  static void instead_of_sleep(void (*function)(unsigned seconds));

  static constexpr int parked_status = 77;
};

}  // namespace kvtest

#endif
