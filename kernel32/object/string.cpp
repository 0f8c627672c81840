// Strings. Written by the rules of the reader: from quote to quote on one line, where a quote behind a
// backslash is content.
#include <kelvane/atom.h>
#include <kelvane/stream.h>

clString::clString(const char* text) : Text_Bone(copy_text(text)) {}

clString::clString(const clString& other) = default;

clString::~clString() = default;

clString* clString::adopt(char* owned) { return new clString(Owned{owned}); }

void clString::write(kvostream& stream) const {
  stream << '"';
  char before = '\0';
  for (const char* next = text(); *next != '\0'; ++next) {
    if (*next == '"' && before != '\\') stream << '\\';
    stream << (*next == '\n' ? ' ' : *next);
    before = *next;
  }
  if (before == '\\') stream << ' ';
  stream << '"';
}
