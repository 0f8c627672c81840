// The scanner of both readers: cuts the text of a stream into tokens and has their values made.
//
//   integer   an optional "-" and digits; "-" alone is one, too
//   real      [-]digits.[digits][(e|E)[-]digits]
//   atom      any other run of atom characters
//   string    "..." on one line; a quote behind a backslash may be content
//   comment   from ";" to the end of a line that has one
//
// Blanks, tabs and newlines stand between tokens. Any other byte is reported and skipped. The longest possible
// token is taken; its text ends with a zero byte while its value is made.
#pragma once

#include <kelvane/frames.h>

#include "parselib/scan_buffer.h"

inline namespace kelvane {

enum Token { END_TOKEN = 0, ATOM_TOKEN = 262 };

class Scanner {
 public:
  // The prefix names the reader where memory is short.
  Scanner(kvistream& in, const Slot_Machine& machine, const char* prefix)
      : in_(in), machine_(machine), buffer_(in, prefix) {}
  Scanner(const Scanner&) = delete;
  Scanner& operator=(const Scanner&) = delete;

  // The next token's number and, for atoms, numbers and strings, its new value, which is the caller's.
  int next(Bone*& out_value);

  // One line on standard output with the current line number; nothing when the stream is at its end.
  void report(const char* message) const;

 private:
  void skip_comment();
  int run(Bone*& out_value);
  int string(Bone*& out_value);
  bool end_of_string();

  kvistream& in_;
  const Slot_Machine& machine_;
  Scan_Buffer buffer_;
  unsigned line_ = 1;
  bool in_last_line_ = false;  // no newline comes any more
};

}  // namespace kelvane
