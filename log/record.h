// One record of a log file:
//
//   record  := header newline message newline
//   header  := DD/MM HH:MM:SS  [# N] ->
//
// with the local time, N counting from 1. The message's newline is its own when its format ends in one.
#pragma once

#include <winbase.h>

#include <cstdarg>
#include <cstdio>

inline namespace kelvane {

// Writes a record and flushes the stream. 0, or the errno of the first write that failed, after which nothing
// more is written. The arguments are used up.
int write_record(FILE* stream, const SYSTEMTIME& time, int number, const char* format, va_list arguments);

// Whether a line begins as a record's header does.
bool is_record_header(const char* line);

}  // namespace kelvane
