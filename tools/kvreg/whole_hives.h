// Keys with all below them, and the files that hold them.
#pragma once

#include <string>

#include "tools/kvreg/key_path.h"

namespace kvreg {

// A new hive file; it must not stand.
void save_key(const Key_Path& path, const std::string& file);
// Puts the file in the place of the key, which is made when it is missing; all or nothing.
void load_key(const Key_Path& path, const std::string& file);
// Removes a key that loading has made.
void unload_key(const Key_Path& path);
void rename_key(const Key_Path& path, std::u16string_view new_name);
// The way from the root folder: a server does not share this process's folder.
std::string absolute_file(const std::string& file);

}  // namespace kvreg
