// Writes what .reg files say, so that reading it gives the same keys and values, and writing those the same bytes.
//
// Lines end with CR LF; version 5 is UTF-16 with the low byte and a mark first. Values with a text that has one
// terminator, at its end, and no control character are quoted; all others are bytes. Control characters in names are
// written as \xHHHH; (see reader.h).
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "tools/kvreg/reg_text/reg_types.h"

namespace kvreg {

class Reg_Writer {
 public:
  using Sink = std::function<void(std::string_view bytes)>;

  // The sink gets the file in pieces; mark and first line at once.
  Reg_Writer(Reg_Version version, Sink sink);

  // A key and the values that follow. False, and nothing is written, for what the code page of version 4 cannot tell.
  bool key(std::u16string_view path);
  bool value(std::u16string_view name, std::uint32_t type, std::string_view data);
  // Writes what is left.
  void finish();

 private:
  void end_line();
  void append_name(std::u16string_view name);
  void append_quoted(std::u16string_view text);
  void append_bytes(std::string_view bytes);
  bool must_escape(char16_t unit) const;
  bool is_quotable(std::u16string_view text) const;
  bool is_told(std::u16string_view text) const;
  void flush();

  Reg_Version version_;
  Sink sink_;
  std::u16string gathered_;
  std::size_t line_start_ = 0;  // in gathered_
};

}  // namespace kvreg
