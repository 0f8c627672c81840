// malloc, seen by the test: the dynamic linker prefers the program's own, which goes on to the real one.
#ifndef KELVANE_TESTS_BOOTSTRAP_MALLOC_DOUBLE_H
#define KELVANE_TESTS_BOOTSTRAP_MALLOC_DOUBLE_H

#include <cstddef>

namespace kvtest {

// From now on malloc says the sizes from smallest to largest, in bytes.
void tell_blocks(std::size_t smallest, std::size_t largest);

}  // namespace kvtest

#endif
