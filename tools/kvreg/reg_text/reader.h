// Reads the text of a .reg file:
//
//   file    = header statement*                            blank lines and lines that begin with ";" are passed over
//   header  = "Windows Registry Editor Version 5.00" | "REGEDIT4"
//   statement = "[" path "]"  |  "[-" path "]"  |  name "=" data  |  name "=-"
//   name    = "@" | quoted
//   data    = quoted | "dword:" 1*8HEX | "hex:" bytes | "hex(" type ")" ":" bytes
//   bytes   = [HEX [HEX] *("," HEX [HEX])] [","]           "\" at the end of a line: goes on in the next one
//   quoted  = '"' ... '"'   with \\ and \" for backslash and quote; \xHHHH; is any 16-bit unit; may span lines
//   path    = names with "\" between; \\xHHHH; is any 16-bit unit
//
// Lines end with LF or CR LF, the last one also with the file. A statement may be followed by blanks and ";" with a
// comment. Words are read in either case. Bytes of texts are 16-bit units, low byte first, in version 5 and the code
// page in version 4. The reader is total: whatever the bytes are it ends with the first wrong line or has read them
// all.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "tools/kvreg/reg_text/decode.h"

namespace kvreg {

// What a file says, in its order. Each answers a sentence when the statement cannot be, else an empty text. Values
// belong to the key that was opened last. Data is in the stored form.
class Reg_Visitor {
 public:
  virtual std::string open_key(std::u16string_view path) = 0;
  virtual std::string delete_key(std::u16string_view path) = 0;
  virtual std::string set_value(std::u16string_view name, std::uint32_t type, std::string_view data) = 0;
  virtual std::string delete_value(std::u16string_view name) = 0;

 protected:
  ~Reg_Visitor() = default;
};

struct Wrong_Line {
  std::size_t line;  // from 1
  std::string what;
};

std::optional<Wrong_Line> read_reg_text(const Decoded_Text& text, Reg_Visitor& visitor);

}  // namespace kvreg
