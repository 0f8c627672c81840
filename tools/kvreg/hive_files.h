// Where the hives lie, as far as this process can tell.
#pragma once

#include <windef.h>

#include <string>

#include "tools/kvreg/key_path.h"

namespace kvreg {

// The hive of a key: the machine's file, or the user's live hive. Empty where only a server knows.
std::string hive_file_of(const Key_Path& path);

// That file when the code speaks of a file (damage, rights, the disk), else nothing.
std::string file_to_name(const Key_Path& path, DWORD code);

}  // namespace kvreg
