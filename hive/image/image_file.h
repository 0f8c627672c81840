// The per-user file as images see it: reading it whole, setting a bad one aside, and the lock under which
// images are made for it.
#pragma once

#include <string>
#include <vector>

#include "hive/status.h"

namespace hive {

// The bytes of the file; nothing, with ok, when it is missing or empty. not_a_hive when it is no regular file
// or does not begin as an image, so that a large foreign file is never read whole.
Status read_image_file(const std::string& file, std::vector<unsigned char>* out_bytes);

// The first bytes of the file, as the whole of them above.
Status read_image_head(const std::string& file, std::vector<unsigned char>* out_bytes);

// Writes the bytes to a new file "<file>.<word>.<n>" with the lowest n that is free, durably. Its name, or ""
// when that did not go well; nothing is left then.
std::string write_beside(const std::string& file, const char* word, const std::vector<unsigned char>& bytes);

// Renames the file to "<file>.<word>.<n>" with the lowest n that is free. The new name, or "" when the folder
// does not allow it.
std::string set_aside(const std::string& file, const char* word);

// Takes an exclusive lock on the file, made when missing, and keeps it to the end of the process. False when
// another process held it for wait_ms, or the file cannot be opened. Asked again, the process has it already.
// One file in a process.
bool lock_for_ever(const std::string& file, int wait_ms);

}  // namespace hive
