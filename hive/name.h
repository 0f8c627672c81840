// Names between 16-bit units and their stored form, and paths of names.
//
// The stored form is UTF-8, where a pair of surrogates is one character of four bytes and a lone surrogate
// has the three bytes that UTF-8 would give it: every sequence of units has exactly one form and comes back
// from it unchanged, zeros included.
#pragma once

#include <string>
#include <string_view>

namespace hive {

std::string stored_form(std::u16string_view units);
// The stored form of the case-folded name: names are equal when these are.
std::string folded_form(std::u16string_view units);

// Appends the units of a stored form. A byte that belongs to no character becomes U+FFFD.
void append_units(std::string_view stored, std::u16string& units);
std::u16string units_of(std::string_view stored);
// How many units a stored form has.
std::size_t count_units(std::string_view stored);

// The parts of a path between backslashes, empty ones skipped.
class Path_Parts {
 public:
  explicit Path_Parts(std::u16string_view path) : rest_(path) { skip_separators(); }

  bool more() const { return !rest_.empty(); }
  // The next part. Only while there is one.
  std::u16string_view next();
  std::u16string_view rest() const { return rest_; }

 private:
  void skip_separators();

  std::u16string_view rest_;
};

}  // namespace hive
