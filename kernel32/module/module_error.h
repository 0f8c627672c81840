// The reason of a failed load or look-up, kept for each thread.
#ifndef KELVANE_KERNEL32_MODULE_MODULE_ERROR_H
#define KELVANE_KERNEL32_MODULE_MODULE_ERROR_H

#include <string>

inline namespace kelvane {

// Keeps the reason as one line, cut when it is longer than 1,023 bytes, and sets the last error.
void fail_module(unsigned code, const std::string& reason);

// Forgets the reason; the last error stays.
void clear_module_error();

// The text of the loader's own last error in this thread, "" when it has none.
std::string loader_error();

}  // namespace kelvane

#endif
