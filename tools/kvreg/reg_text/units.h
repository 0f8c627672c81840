// Text between the forms that meet in the tool: 16-bit units as the registry has them, the code page of the
// environment (arguments, the terminal, files of version 4) and UTF-8.
//
// Nothing is lost between units and the code page: a byte that is no text is the unit U+DC00 + the byte, and goes
// back to it; any other lone surrogate is carried in the three bytes that UTF-8 would give it. A character that the
// code page does not have becomes "?".
#pragma once

#include <string>
#include <string_view>

namespace kvreg {

std::u16string units_of(std::string_view text);
std::string text_of(std::u16string_view units);

// UTF-8, whatever the environment says. In the first a byte that belongs to no character becomes U+DC00 + the byte, as
// above; the second gives every lone surrogate three bytes.
std::u16string units_of_utf8(std::string_view text);
std::string utf8_of(std::u16string_view units);

// Whether the units are text: no lone surrogate.
bool is_unicode(std::u16string_view units);

// ASCII letters in lower case, everything else as it is.
std::string lower_case(std::string_view text);
std::u16string lower_case(std::u16string_view units);

}  // namespace kvreg
