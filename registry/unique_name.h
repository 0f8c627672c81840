// Names of files that no other process and no other call uses, beside a file that is about to be replaced.
#pragma once

inline namespace kelvane {

inline constexpr unsigned long unique_name_size = 4096;

// Formats "<base>.<computer>.<pid>_<counter>" into destination, cut to capacity bytes; the counter starts at
// 1 and is the process's. Returns the length of the whole name.
int KvCreateUniqFileName(char* destination, unsigned long capacity, const char* base);

}  // namespace kelvane
