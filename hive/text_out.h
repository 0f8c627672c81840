// Names on their way out: stored forms into the caller's 16-bit units.
#pragma once

#include <string_view>

#include "hive/registry.h"

namespace hive {

// Sets the length; writes the text with its terminator when there is room for both. False when there is not;
// a caller that gives no text has always enough.
bool put_text(std::string_view stored, Text_Out& out);
bool put_units(std::u16string_view units, Text_Out& out);

}  // namespace hive
