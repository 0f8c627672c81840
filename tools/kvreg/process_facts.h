// What this process knows of its registry beyond the keys, as lines for the eye.
#pragma once

#include <string>

namespace kvreg {

// "1, in-process".
std::string name_of_mode();
// Which variable or file decided.
std::string reason_of_mode();
// Whether a server runs, and its process id.
std::string server_facts();
std::string user_image_file();
std::string usual_backup_folder();
// The library that an address lies in.
std::string file_of_address(const void* address);
// "UTF-8", as the environment says.
std::string name_of_code_page();
// "hive of version 1", from the head of the file.
std::string version_of_hive(const std::string& file);

}  // namespace kvreg
