// The way to a key as it is written:  [\\machine\] root [\ name]...   with the short or the long name of the root, in
// any case. Backslashes that are doubled or stand at the end are passed over.
#pragma once

#include <windef.h>

#include <string>
#include <string_view>
#include <vector>

namespace kvreg {

struct Root {
  const char* long_name;
  const char* short_name;
  HKEY handle;
};

// All that there are, in the order in which they are shown.
const std::vector<Root>& all_roots();
// Null for a name that is none.
const Root* find_root(std::u16string_view name);

struct Key_Path {
  const Root* root = nullptr;
  std::u16string machine;   // empty for this one
  std::u16string sub_path;  // names with single backslashes between; empty for the root itself

  // With the root's long name, in 16-bit units.
  std::u16string units() const;
  // The same in the code page, control characters shown.
  std::string shown() const;
  // The last name, or the root's.
  std::u16string name() const;
  Key_Path parent() const;
  Key_Path child(std::u16string_view name) const;
};

// Throws Bad_Arguments when no root has that name.
Key_Path parse_key_path(std::string_view argument);
Key_Path parse_key_path(std::u16string_view written);
// The same, null root in place of an error.
Key_Path try_key_path(std::u16string_view written);

}  // namespace kvreg
