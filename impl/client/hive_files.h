// Files of this host on the way to and from the server, opened with this process's own rights. Answers are Win32 codes.
#pragma once

#include <windef.h>

#include <string>
#include <vector>

#include "impl/wire/unique_fd.h"

namespace impl::client {

// Whether a descriptor is a file's: a device may have no end, and what is none may keep its reader waiting.
bool is_whole_file(int fd);

// A new file for this user alone with what a descriptor holds, on the disk to stay. ERROR_ALREADY_EXISTS when something
// stands there; what was begun is removed again on a failure.
DWORD write_new_file(const std::string& file, int content);

// The same in the place of a file that may stand there, whole or not at all.
DWORD replace_file(const std::string& file, int content);

// Makes the folder of a backup, for this user alone, when it is missing. ERROR_ALREADY_EXISTS for what is no folder.
DWORD make_backup_folder(const std::string& folder);

// A sealed copy of a hive file in memory. ERROR_NOT_REGISTRY_FILE for what is no file; ERROR_BUSY when a log stands
// beside it: what is in the log would be missing.
DWORD read_hive_file(const std::string& file, wire::Unique_Fd* out);

// Everything that a descriptor holds. False when it cannot be read or is longer than an image may be.
bool read_all(int content, std::vector<BYTE>* out);

}  // namespace impl::client
