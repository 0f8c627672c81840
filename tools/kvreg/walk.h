// Keys one after the other: each before those below it, in the order of enumeration.
#pragma once

#include <functional>

#include "tools/kvreg/key.h"

namespace kvreg {

// Visits the key at the path, which must be there, and with is_deep all below it. Keys that go away meanwhile are
// passed over. Throws Interrupted.
void walk(const Key_Path& path, bool is_deep, const std::function<void(const Key&)>& visit);

}  // namespace kvreg
