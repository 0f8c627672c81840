// Strings. Written by the rules of the reader: from quote to quote on one line, where a quote behind a
// backslash is content.
#include <kelvane/atom.h>
#include <kelvane/stream.h>
#include <string.h>

clString::clString(const char* text) : Text_Bone(text) {}

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
  stream << '"';
  if (before == '\\') stream << '\n';
}

namespace {

char* joined(const char* first, const char* second) {
  const size_t first_length = first != nullptr ? strlen(first) : 0;
  const size_t second_length = second != nullptr ? strlen(second) : 0;
  char* text = clString::allocate(first_length + second_length + 1);
  if (first_length > 0) memcpy(text, first, first_length);
  if (second_length > 0) memcpy(text + first_length, second, second_length);
  return text;
}

}  // namespace

Concat_Strings::Concat_Strings(const char* first, const char* second) : clString(Owned{joined(first, second)}) {}

Concat_Strings::~Concat_Strings() = default;
