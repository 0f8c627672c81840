#include "tests/bootstrap/malloc_double.h"

#include <dlfcn.h>

#include "tests/bootstrap/doubles.h"

namespace {

std::size_t smallest_told = 1;
std::size_t largest_told = 0;

}  // namespace

namespace kvtest {

void tell_blocks(std::size_t smallest, std::size_t largest) {
  smallest_told = smallest;
  largest_told = largest;
}

}  // namespace kvtest

extern "C" __attribute__((visibility("default"))) void* malloc(std::size_t size) {
  using Malloc = void*(std::size_t);
  static Malloc* const real = reinterpret_cast<Malloc*>(dlsym(RTLD_NEXT, "malloc"));
  if (size >= smallest_told && size <= largest_told) kvtest::say("malloc %zu\n", size);
  return real(size);
}
