// Text for the eye: nothing in it moves the cursor, ends the line or changes the terminal.
#pragma once

#include <string>
#include <string_view>

namespace kvreg {

// In the code page; control characters, marks that turn the direction of writing, separators of lines and lone
// surrogates as \uXXXX.
std::string shown(std::u16string_view units);

}  // namespace kvreg
