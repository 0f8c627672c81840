// Which number, if any, a text is.
#pragma once

#include <cstddef>

inline namespace kelvane {

enum class Number_Form { none, integer, real };

// Of a text of at least one character, with a zero byte behind its length.
Number_Form number_form(const char* text, std::size_t length);

}  // namespace kelvane
