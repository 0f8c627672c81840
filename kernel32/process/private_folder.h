// Folders that only their user may enter.
#ifndef KELVANE_KERNEL32_PROCESS_PRIVATE_FOLDER_H
#define KELVANE_KERNEL32_PROCESS_PRIVATE_FOLDER_H

#include <string>

inline namespace kelvane {

// Makes the folder with mode 0700 (its parent must be there). True also for a folder that exists, whatever its
// mode; false with errno set otherwise.
bool make_private_folder(const std::string& path);

// The same for a place where other users can make files: an existing folder counts only when it is no link,
// belongs to the effective user and nobody else may enter it.
bool make_private_folder_among_others(const std::string& path);

}  // namespace kelvane

#endif
