#include "impl/client/told_value.h"

#include <algorithm>

#include "impl/wire/sealed_memory.h"

namespace impl::client {

bool copy_data(wire::Bytes data, wire::Memory memory, DWORD size, BYTE* out) {
  if (memory.fd < 0) {
    if (data.size() != size) return false;
    std::copy(data.begin(), data.end(), out);
    return true;
  }
  const wire::Sealed_Bytes sealed(memory.fd, size);
  if (sealed.error() != 0 || sealed.bytes().size() != size) return false;
  std::copy(sealed.bytes().begin(), sealed.bytes().end(), out);
  return true;
}

}  // namespace impl::client
