// Any descriptor goes from the absolute into the self-relative form and back, in buffers of exactly the sizes told,
// and its parts come back byte for byte.
#include <windows.h>

#include <cstring>
#include <vector>

#include "fuzz/fuzz_input.h"

namespace {

using Bytes = std::vector<char>;

// A part in a block of exactly its size; empty for one that is absent.
Bytes a_sid(Fuzz_Input& input) {
  const unsigned choice = input.byte();
  if (choice == 0) return {};
  const std::string content = input.bytes(8 + 4 * (choice - 1));
  Bytes sid(content.begin(), content.end());
  sid[0] = 1;
  sid[1] = static_cast<char>(choice - 1);
  return sid;
}

Bytes a_list(Fuzz_Input& input) {
  const unsigned size = input.word();
  if (size < 8) return {};
  const std::string content = input.bytes(size);
  Bytes list(content.begin(), content.end());
  const ACL header = {ACL_REVISION, 0, static_cast<WORD>(size), 0, 0};
  std::memcpy(list.data(), &header, sizeof header);
  return list;
}

struct Parts {
  Bytes owner, group, sacl, dacl;

  void place(SECURITY_DESCRIPTOR& descriptor) {
    descriptor.Owner = owner.empty() ? nullptr : owner.data();
    descriptor.Group = group.empty() ? nullptr : group.data();
    descriptor.Sacl = sacl.empty() ? nullptr : reinterpret_cast<ACL*>(sacl.data());
    descriptor.Dacl = dacl.empty() ? nullptr : reinterpret_cast<ACL*>(dacl.data());
  }
  DWORD packed_size() const { return static_cast<DWORD>(40 + owner.size() + group.size() + sacl.size() + dacl.size()); }
  bool operator==(const Parts& other) const = default;
};

Bytes packed(SECURITY_DESCRIPTOR& descriptor, DWORD size) {
  DWORD told = size - 1;
  check(MakeSelfRelativeSD(&descriptor, nullptr, &told) == FALSE && told == size);
  Bytes block(size);
  check(MakeSelfRelativeSD(&descriptor, block.data(), &told) == TRUE && told == size);
  return block;
}

// A descriptor whose parts lie inside the packed block.
SECURITY_DESCRIPTOR located(Bytes& block) {
  SECURITY_DESCRIPTOR descriptor;
  std::memcpy(static_cast<void*>(&descriptor), block.data(), sizeof descriptor);
  check(descriptor.Control & SE_SELF_RELATIVE);
  descriptor.Control &= static_cast<WORD>(~SE_SELF_RELATIVE);
  const auto turn = [&block](auto*& field) {
    const auto offset = reinterpret_cast<ULONG_PTR>(field);
    check(offset < block.size() || block.size() == 40);
    if (offset != 0) field = reinterpret_cast<decltype(field + 0)>(block.data() + offset);
  };
  SECURITY_DESCRIPTOR& d = descriptor;
  auto* owner = static_cast<char*>(d.Owner);
  auto* group = static_cast<char*>(d.Group);
  turn(owner);
  turn(group);
  turn(d.Sacl);
  turn(d.Dacl);
  d.Owner = owner;
  d.Group = group;
  return descriptor;
}

void round_trip(Parts& parts, WORD control) {
  SECURITY_DESCRIPTOR descriptor = {};
  descriptor.Revision = SECURITY_DESCRIPTOR_REVISION;
  descriptor.Control = static_cast<WORD>(control & ~SE_SELF_RELATIVE);
  parts.place(descriptor);
  check(IsValidSecurityDescriptor(&descriptor) == TRUE);
  Bytes block = packed(descriptor, parts.packed_size());

  SECURITY_DESCRIPTOR source = located(block);
  Parts copies = {Bytes(parts.owner.size()), Bytes(parts.group.size()), Bytes(parts.sacl.size()),
                  Bytes(parts.dacl.size())};
  SECURITY_DESCRIPTOR made;
  DWORD sizes[5] = {40, static_cast<DWORD>(copies.dacl.size()), static_cast<DWORD>(copies.sacl.size()),
                    static_cast<DWORD>(copies.owner.size()), static_cast<DWORD>(copies.group.size())};
  check(MakeAbsoluteSD(&source, &made, sizes, reinterpret_cast<ACL*>(copies.dacl.data()), sizes + 1,
                       reinterpret_cast<ACL*>(copies.sacl.data()), sizes + 2, copies.owner.data(), sizes + 3,
                       copies.group.data(), sizes + 4) == TRUE);
  check(copies == parts && made.Control == descriptor.Control);
  SECURITY_DESCRIPTOR expected = descriptor;
  copies.place(expected);
  check(std::memcmp(&made, &expected, sizeof made) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Fuzz_Input input(data, size);
  const auto control = static_cast<WORD>(input.word());
  Parts parts = {a_sid(input), a_sid(input), a_list(input), a_list(input)};
  round_trip(parts, control);
  return 0;
}
