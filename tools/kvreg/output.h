// Standard output, gathered and written in large pieces.
#pragma once

#include <string_view>

namespace kvreg {

// Throws Closed_Output when the reader has gone, Complaint when it cannot be written.
void put(std::string_view text);
void put_line(std::string_view line);
void flush_output();

}  // namespace kvreg
