// The conversion between a descriptor in memory and its wire form. The SIDs are copied inside a guarded region,
// where nothing has a destructor and nothing changes that is read behind it.

#include "security/registry_descriptor.h"

#include <kelvane/seh.h>

#include <algorithm>
#include <cstring>

#include "security/descriptor.h"
#include "security/sid.h"

inline namespace kelvane {
namespace {

constexpr DWORD header_difference = descriptor_header_size - wire_header_size;

// Where the field of each offset lies in the two headers.
constexpr DWORD wire_owner = 4, wire_group = 8, wire_sacl = 12, wire_dacl = 16;

struct Offset_Place {
  DWORD in_wire;
  DWORD in_memory;
};
constexpr Offset_Place offset_places[] = {
    {wire_owner, offsetof(SECURITY_DESCRIPTOR, Owner)},
    {wire_group, offsetof(SECURITY_DESCRIPTOR, Group)},
    {wire_sacl, offsetof(SECURITY_DESCRIPTOR, Sacl)},
    {wire_dacl, offsetof(SECURITY_DESCRIPTOR, Dacl)},
};

DWORD wire_offset(DWORD in_memory) { return in_memory == 0 ? 0 : in_memory - header_difference; }
DWORD memory_offset(DWORD in_wire) { return in_wire == 0 ? 0 : in_wire + header_difference; }

// A place in a block and the bytes from there to the block's end.
template <class Byte>
struct Place {
  Place(Byte* block, DWORD size, DWORD offset) : at(block + offset), room(offset < size ? size - offset : 0) {}
  Byte* at;
  DWORD room;
};

struct Sid_Copy {
  Place<BYTE> to;
  Place<const BYTE> from;
};

// Copies a SID with the bytes of each sub-authority turned round, as far as both sides have room. Reads and writes
// wherever the offsets say, on purpose.
__attribute__((no_sanitize("address", "thread"), noinline)) void copy_turned(const Sid_Copy& copy) {
  const DWORD room = std::min(copy.to.room, copy.from.room);
  if (room < sid_header_size) return;
  const BYTE* const from = copy.from.at;
  BYTE* const to = copy.to.at;
  const DWORD size = std::min(sid_size_of(from[1]), room);
  for (DWORD i = 0; i < sid_header_size; ++i) to[i] = from[i];
  for (DWORD i = sid_header_size; i + sub_authority_size <= size; i += sub_authority_size) {
    to[i] = from[i + 3];
    to[i + 1] = from[i + 2];
    to[i + 2] = from[i + 1];
    to[i + 3] = from[i];
  }
}

void copy_guarded(const Sid_Copy& owner, const Sid_Copy& group) {
  SehFrame frame;
  if (sigsetjmp(frame.context, 0) == 0) {
    SehBeginTry3(&frame);
    copy_turned(owner);
    copy_turned(group);
    SehEndTry(&frame);
  } else if (frame.must_complete != 0) {
    SehExceptReturn2(1);
  }
}

// What may be read at a descriptor whose size nobody tells: all that its offsets lead to.
constexpr DWORD unbounded = 0xFFFFFFFF;

}  // namespace

void ddr_SECURITY_DESCRIPTOR<_SECURITY_DESCRIPTOR>::operator=(PSECURITY_DESCRIPTOR descriptor) {
  const auto* const memory = static_cast<const BYTE*>(descriptor);
  std::memset(bytes_, 0, sizeof bytes_);
  bytes_[0] = memory[0];
  bytes_[1] = memory[1];
  store(bytes_ + offsetof(SECURITY_DESCRIPTOR, Control),
        __builtin_bswap16(load<WORD>(memory + offsetof(SECURITY_DESCRIPTOR, Control))));
  for (const Offset_Place& place : offset_places) {
    store(bytes_ + place.in_wire, __builtin_bswap32(wire_offset(load<DWORD>(memory + place.in_memory))));
  }
  const auto owner = load<DWORD>(memory + offsetof(SECURITY_DESCRIPTOR, Owner));
  const auto group = load<DWORD>(memory + offsetof(SECURITY_DESCRIPTOR, Group));
  // QUIRK wire-absent-part: an offset of 0 copies the header as a SID over the wire's own header.
  copy_guarded({{bytes_, wire_buffer_size, wire_offset(owner)}, {memory, unbounded, owner}},
               {{bytes_, wire_buffer_size, wire_offset(group)}, {memory, unbounded, group}});
}

void ddr_SECURITY_DESCRIPTOR<_SECURITY_DESCRIPTOR>::copyto(PSECURITY_DESCRIPTOR descriptor, DWORD size) const {
  BYTE header[descriptor_header_size] = {bytes_[0], bytes_[1]};
  store(header + offsetof(SECURITY_DESCRIPTOR, Control),
        __builtin_bswap16(load<WORD>(bytes_ + offsetof(SECURITY_DESCRIPTOR, Control))));
  for (const Offset_Place& place : offset_places) {
    store(header + place.in_memory, memory_offset(__builtin_bswap32(load<DWORD>(bytes_ + place.in_wire))));
  }
  std::memcpy(descriptor, header, std::min(size, descriptor_header_size));

  auto* const memory = static_cast<BYTE*>(descriptor);
  const DWORD owner = __builtin_bswap32(load<DWORD>(bytes_ + wire_owner));
  const DWORD group = __builtin_bswap32(load<DWORD>(bytes_ + wire_group));
  copy_guarded({{memory, size, memory_offset(owner)}, {bytes_, wire_buffer_size, owner}},
               {{memory, size, memory_offset(group)}, {bytes_, wire_buffer_size, group}});
}

}  // namespace kelvane
