// A .reg file as text in memory.
#pragma once

#include <string>

#include "tools/kvreg/reg_text/reader.h"

namespace kvreg {

// The whole file, "-" for standard input. Throws a Complaint when it cannot be read, or is a hive.
Decoded_Text text_of_reg_file(const std::string& file);

// Its statements, one after the other. Throws a Complaint that names the first wrong line.
void read_reg_file(const std::string& file, const Decoded_Text& text, Reg_Visitor& visitor);

}  // namespace kvreg
