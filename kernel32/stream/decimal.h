// Numbers as decimal text.
#ifndef KELVANE_KERNEL32_STREAM_DECIMAL_H
#define KELVANE_KERNEL32_STREAM_DECIMAL_H

#include <string>

inline namespace kelvane {

// The shortest text of the form [-]digits.digits[e[-]digits] that reads back as this number. Infinity is a
// number too large to be one ("1.0e999", which reads back as infinity); no number is "nan".
std::string decimal_text(double number);

}  // namespace kelvane

#endif
