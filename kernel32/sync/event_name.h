// Where a named event lies below the folder of events.
#ifndef KELVANE_KERNEL32_SYNC_EVENT_NAME_H
#define KELVANE_KERNEL32_SYNC_EVENT_NAME_H

#include <cstddef>
#include <string>

inline namespace kelvane {

// The relative path of the event of this name, the same in every process whatever its code page. Different names have
// different paths, and no path has a part that begins with a dot. Parts that are folders end in "%", which the last
// part never does.
std::string event_path(const wchar_t* name, std::size_t length);

}  // namespace kelvane

#endif
