// The file of the user's hive, replaced whole so that no reader ever sees half of it.
#pragma once

#include <winreg.h>

inline namespace kelvane {

// Writes size bytes to a new file beside path and moves it over path. 0; ERROR_DISK_FULL (112) when there is
// no room or the write was short for any other cause; ERROR_ACCESS_DENIED (5). On an error the file that
// stood is as it was.
DWORD KvWriteHKCUFile(const char* path, unsigned char* data, int size);

}  // namespace kelvane
