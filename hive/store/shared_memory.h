// Whether processes that use a file can share memory through it: not on file systems of other machines, whose
// programs would each have a memory of their own, nor where the system cannot map files. A hive there has no log.
#pragma once

namespace hive {

// Of an open file.
bool shares_memory(int fd);

// By the system's number of a kind of file system. What may reach other machines counts as shared with them.
bool is_of_one_machine(unsigned long file_system);

}  // namespace hive
