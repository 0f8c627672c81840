// Any bytes as a stored descriptor are read into a block of any size without a step outside of it; a well-formed
// descriptor comes back from its stored form byte for byte.
#include <winnt.h>

#include <cstring>
#include <memory>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "security/registry_descriptor.h"

namespace {

using Wire = ddr_SECURITY_DESCRIPTOR<_SECURITY_DESCRIPTOR>;

void read_anything(Fuzz_Input& input) {
  Wire wire;
  const DWORD room = input.word() % 5000;
  const std::unique_ptr<char[]> descriptor(new char[room]);
  const std::string stored = input.rest();
  std::memcpy(wire.data(), stored.data(), std::min<std::size_t>(stored.size(), wire_buffer_size));
  wire.copyto(descriptor.get(), room);
}

// What stands in memory is bytes of the run: its offsets and counts lead anywhere inside a large block.
void store_anything(Fuzz_Input& input) {
  std::vector<char> block(16384);
  const std::string content = input.rest();
  std::memcpy(block.data(), content.data(), std::min(content.size(), block.size()));
  Wire wire;
  wire = block.data();
}

std::string sid_of(Fuzz_Input& input) {
  const unsigned count = input.byte();
  std::string sid = input.bytes(8 + 4 * count);
  sid[1] = static_cast<char>(count);
  return sid;
}

void put(std::string& block, std::size_t at, const std::string& content) {
  if (block.size() < at + content.size()) block.resize(at + content.size());
  block.replace(at, content.size(), content);
}

void put_offset(std::string& block, std::size_t at, std::uint32_t offset) {
  std::memcpy(block.data() + at, &offset, sizeof offset);
}

// The offset 20 would become that of an absent list.
std::uint32_t list_offset(Fuzz_Input& input) {
  const std::uint32_t offset = input.dword();
  return offset == 20 ? 0 : offset;
}

void round_trip(Fuzz_Input& input) {
  const std::string owner = sid_of(input), group = sid_of(input);
  const std::size_t gap = input.byte(), owner_at = 40 + gap, group_at = owner_at + owner.size() + input.byte() % 9;
  std::string descriptor(40, '\0');
  put(descriptor, 0, input.bytes(4));
  put(descriptor, owner_at, owner);
  put(descriptor, group_at, group);
  put_offset(descriptor, 8, static_cast<std::uint32_t>(owner_at));
  put_offset(descriptor, 16, static_cast<std::uint32_t>(group_at));
  put_offset(descriptor, 24, list_offset(input));
  put_offset(descriptor, 32, list_offset(input));

  Wire wire;
  wire = descriptor.data();
  std::string back(descriptor.size(), '\0');
  wire.copyto(back.data(), static_cast<DWORD>(back.size()));
  check(back == descriptor);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Fuzz_Input input(data, size);
  switch (input.byte() % 3) {
    case 0:
      read_anything(input);
      break;
    case 1:
      store_anything(input);
      break;
    default:
      round_trip(input);
  }
  return 0;
}
