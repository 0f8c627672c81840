#include "parselib/scanner.h"

#include <cstdio>
#include <cstring>

#include "parselib/character_kinds.h"
#include "parselib/number_form.h"

inline namespace kelvane {

void Scanner::report(const char* message) const {
  // QUIRK short-text-silent: the test is made on the stream, which is read ahead of the scanner's place.
  if (!in_.at_end()) std::printf("Parselib : line %d - %s\n", static_cast<int>(line_), message);
}

int Scanner::next(Bone*& out_value) {
  for (;;) {
    buffer_.begin_token();
    if (!buffer_.has_next()) return END_TOKEN;
    const unsigned char first = buffer_.next();
    const Character_Kind kind = character_kinds[first];
    if (kind == Character_Kind::atom) return run(out_value);
    buffer_.set_length(1);
    switch (kind) {
      case Character_Kind::bracket:
        return token_of_bracket(first);
      case Character_Kind::quote:
        if (end_of_string()) return string(out_value);
        report("unrecognized symbol.");
        break;
      case Character_Kind::comment:
        skip_comment();
        break;
      case Character_Kind::newline:
        ++line_;
        break;
      case Character_Kind::blank:
        break;
      default:
        report("unrecognized symbol.");
    }
  }
}

// A run of atom characters: a number when all of it has the form of one.
int Scanner::run(Bone*& out_value) {
  do {
    const char* at = buffer_.at();
    while (character_kinds[static_cast<unsigned char>(*at)] == Character_Kind::atom) ++at;
    buffer_.advance_to(at);
  } while (buffer_.at() == buffer_.end() && buffer_.has_next());
  char* const text = buffer_.token();
  const std::size_t length = buffer_.length();
  const char behind = text[length];
  text[length] = '\0';
  int token = ATOM_TOKEN;
  switch (number_form(text, length)) {
    case Number_Form::integer:
      token = machine_.integer(out_value, text);
      break;
    case Number_Form::real:
      token = machine_.real(out_value, text);
      break;
    case Number_Form::none:
      out_value = new clAtom(text);
  }
  text[length] = behind;
  return token;
}

// From behind the opening quote to behind the last quote that may end the string; false, and only the opening
// quote taken, when the line has none. A quote ends the search unless a backslash stands before it.
bool Scanner::end_of_string() {
  std::size_t length = 1;
  bool behind_backslash = false;
  while (buffer_.has_next()) {
    const unsigned char character = buffer_.next();
    if (character == '\n') break;
    buffer_.set_length(buffer_.length() + 1);
    if (character == '"') {
      length = buffer_.length();
      if (!behind_backslash) break;
    }
    behind_backslash = character == '\\';
  }
  buffer_.set_length(length);
  return length > 1;
}

int Scanner::string(Bone*& out_value) {
  char* const text = buffer_.token();
  text[buffer_.length() - 1] = '\0';
  return machine_.string(out_value, text + 1);
}

// QUIRK comment-needs-newline: in a last line without newline only the ";" is skipped, with a report, and what
// follows it is text.
void Scanner::skip_comment() {
  while (!in_last_line_) {
    const std::size_t rest = static_cast<std::size_t>(buffer_.end() - buffer_.at());
    if (const void* newline = std::memchr(buffer_.at(), '\n', rest)) {
      buffer_.advance_to(static_cast<const char*>(newline));
      return;
    }
    buffer_.advance_to(buffer_.end());
    in_last_line_ = !buffer_.has_next();
  }
  buffer_.set_length(1);
  report("unrecognized symbol.");
}

}  // namespace kelvane
