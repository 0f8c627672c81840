/*
 * What the sanitizers are told in every program of these tests, also in those that start with an empty
 * environment. A closed registry releases nothing: the last image of the user's hive and what start-up made
 * stay with the process. The base library takes faults itself, and memory passes between libraries whose
 * operators of new and delete are their own.
 */
#if defined(__SANITIZE_ADDRESS__)
#define ASKED_BY_NAME __attribute__((visibility("default"), used))

ASKED_BY_NAME const char* __asan_default_options(void) { return "handle_segv=0:alloc_dealloc_mismatch=0"; }
ASKED_BY_NAME const char* __lsan_default_options(void) { return "print_suppressions=0"; }
ASKED_BY_NAME const char* __lsan_default_suppressions(void) { return "leak:RegUxClose\nleak:InitAdvapi32\n"; }
#else
typedef int nothing_to_tell;
#endif
