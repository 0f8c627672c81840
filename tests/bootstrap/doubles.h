// What the library calls of libkernel32, seen by the test: the test program defines some of those functions
// itself, and the dynamic linker prefers the program's definitions. Each goes on to the real one (those of the
// object model have nothing to go on to) and does nothing else until a child asks for more.
#ifndef KELVANE_TESTS_BOOTSTRAP_DOUBLES_H
#define KELVANE_TESTS_BOOTSTRAP_DOUBLES_H

#include <windows.h>

#include <cstddef>
#include <cstdint>

namespace kvtest {

// Writes a line to standard output at once, past every buffer: also while the process ends.
void say(const char* format, ...) __attribute__((format(printf, 1, 2)));

// From now on each step of start-up and of shutdown says its name.
void tell_steps();
// From now on only the loading of libraries says its name.
void tell_loads();
// From now on GetProcAddress says what is looked up.
void tell_lookups();

// The next sequence that is made, the heap of bones at a start, says when all its bones are asked for and when it goes.
void tell_heap_of_bones();

// TlsAlloc gives this index.
void use_thread_index(DWORD index);
// gethostname fails, and leaves its buffer full.
void forget_host();
// sleep says its seconds and ends the process with status 0.
void end_at_sleep();
// KvExit says its status and returns.
void make_exit_return();
// KvKernelMallocInit says its arguments and whether the system's heap is still in use, and gives this result.
void answer_heap_init(uintptr_t result);
// KvKernelCalloc says the size.
void tell_kernel_blocks();

// What the library asks for names says the numbers that it is given: KvGetUserWindowsDirectoryA and GetModuleFileNameA
// the size of the buffer, in bytes, KvTmpDir its argument.
void tell_questions_for_names();

// The file and the program name of every module, in place of the real ones; an empty file is no file.
void name_modules(const char* file, const char* program_name);
// MultiByteToWideChar says its numbers.
void tell_conversions();

}  // namespace kvtest

#endif
