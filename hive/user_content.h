// What the user's hive is given from its per-user file: a new hive takes the image as it is, and one that
// stands imports an image that another host's hive wrote. Everything here works inside a transaction of its
// caller.
//
// The import: an image of our own hive, whatever its number, is none, nor is one imported before. Any other
// replaces what the hive holds. When that has changes which the image does not contain, it is first written
// beside the file as "<file>.local.<n>", and one line tells it. A file that is no whole image is set aside.
#pragma once

#include <string>

#include "hive/store/store.h"

namespace hive {

bool user_is_incomplete(Connection& connection);
Status fill_user(Connection& connection, const std::string& image_file, Findings& findings);

// Whether the file is to be imported or set aside. Volatile keys do not outlast an import, and keys that are
// open are gone: only for a process that is alone with the hive and has just opened it.
bool import_is_due(Connection& connection, const std::string& image_file);
Status import_user(Connection& connection, const std::string& image_file, Findings& findings);

}  // namespace hive
