// What a value of a frame is as text or as a number. A value of another type, or none, is told by the result.
#pragma once

#include <kelvane/frames.h>

inline namespace kelvane {

// The text of an atom or a string; null for anything else.
const char* text_of(const Bone* value);

// Whether the value is an atom or a string of that text.
bool has_text(const Bone* value, const char* text);

// A number without its fraction, the nearest int when it is too large for one; the fallback for anything else.
int int_of(const Bone* value, int fallback);

}  // namespace kelvane
