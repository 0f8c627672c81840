// How often what is left to chance is tried.
#pragma once

#include <cstdlib>

namespace hivetest {

// The second number where KV_TEST_LONG is set, as ./test --long does.
inline int trials(int usually, int at_length) {
  const char* at_length_wanted = std::getenv("KV_TEST_LONG");
  return at_length_wanted != nullptr && *at_length_wanted != '\0' ? at_length : usually;
}

}  // namespace hivetest
