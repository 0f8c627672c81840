// The bytes of a .reg file as 16-bit units, whatever it was written in: UTF-16 with either end first, with a mark or
// without; UTF-8 with a mark; without one UTF-8, or where the first line says "REGEDIT4" the code page.
#pragma once

#include <string>
#include <string_view>

namespace kvreg {

struct Decoded_Text {
  std::u16string units;
  bool ends_inside_unit = false;  // an odd byte was left
};

Decoded_Text decode_reg_file(std::string_view bytes);

}  // namespace kvreg
