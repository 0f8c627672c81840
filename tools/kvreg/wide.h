// 16-bit units as the wide text of the published functions: one character for each unit.
#pragma once

#include <string>
#include <string_view>

namespace kvreg {

std::wstring wide_of(std::u16string_view units);
std::u16string units_of(const wchar_t* text);

}  // namespace kvreg
