// The data of values as text: as it is shown, and as it is given.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tools/kvreg/key.h"

namespace kvreg {

// What stands between the texts of a REG_MULTI_SZ, unless somebody asks for something else.
inline constexpr char16_t usual_separator[] = u"\\0";

// Text without its terminators, numbers as 0x1f, bytes as hexadecimal digits; not made fit for the eye.
std::u16string data_units(const Value& value, std::u16string_view separator = usual_separator);
// The same for the eye.
std::string shown_data(const Value& value, std::u16string_view separator = usual_separator);
// "(Default)" for the value without a name.
std::string shown_name(const Value& value);

// The texts of a REG_MULTI_SZ.
std::vector<std::u16string> texts_of(std::string_view data);
std::string stored_texts(const std::vector<std::u16string>& texts);
// Stored data of a text with its terminator.
std::string stored_text(std::u16string_view text);

// The stored data that a text stands for: texts with their terminators, numbers in decimal or with 0x, other types as
// hexadecimal digits. No text is 0 or no bytes. Throws Bad_Arguments.
std::string data_of_text(DWORD type, std::u16string_view text, std::u16string_view separator = usual_separator);

// Upper-case digits, two a byte.
std::string hex_of(std::string_view data);

}  // namespace kvreg
