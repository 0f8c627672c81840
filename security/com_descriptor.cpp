// Making and reading the descriptors of COM permissions.

#include "security/com_descriptor.h"

#include <cstdlib>
#include <utility>

#include "security/com_principals.h"
#include "security/com_value.h"
#include "security/descriptor.h"
#include "security/sid.h"
#include "security/unaligned.h"

inline namespace kelvane {
namespace {

constexpr DWORD new_descriptor_size = 2076;
constexpr DWORD new_owner_offset = 40, new_group_offset = 52;
constexpr DWORD first_room = 256;

// One sub-authority that stands for everybody; the revision stays 0.
void place_everybody(BYTE* sid) {
  sid[offsetof(SID, SubAuthorityCount)] = 1;
  store(sid + sid_header_size, everybody_id);
}

// A query of the value into the room that there is.
struct Query {
  LONG result;
  DWORD type;
  DWORD size;
  bool is_descriptor() const { return type == REG_BINARY && size >= descriptor_header_size; }
};

Query query(HKEY key, const char* value_name, const Block& room, DWORD size) {
  Query done = {ERROR_SUCCESS, REG_NONE, size};
  done.result = RegQueryValueExA(key, value_name, nullptr, &done.type, room.get(), &done.size);
  return done;
}

bool grow(Block& block, DWORD size) {
  void* const larger = std::realloc(block.get(), size);
  if (larger == nullptr) return false;
  static_cast<void>(block.release());
  block.reset(static_cast<BYTE*>(larger));
  return true;
}

LONG read_value(HKEY key, const char* value_name, Com_Descriptor& out) {
  out.bytes.reset(static_cast<BYTE*>(std::calloc(1, first_room)));
  if (out.bytes == nullptr) return E_OUTOFMEMORY;
  Query done = query(key, value_name, out.bytes, first_room);
  if (done.result == ERROR_MORE_DATA && done.is_descriptor()) {
    if (!grow(out.bytes, done.size)) return E_OUTOFMEMORY;
    done = query(key, value_name, out.bytes, done.size);
    if (done.result != ERROR_SUCCESS) return done.result;
  }
  if (done.result != ERROR_SUCCESS && done.result != ERROR_MORE_DATA) return done.result;
  if (!done.is_descriptor()) return REGDB_E_INVALIDVALUE;
  out.size = done.size;
  return ERROR_SUCCESS;
}

}  // namespace

LONG KvSDCreateNewSD(Com_Descriptor& out) {
  out = {Block(static_cast<BYTE*>(std::calloc(1, new_descriptor_size))), new_descriptor_size};
  if (out.bytes == nullptr) return ERROR_OUTOFMEMORY;
  BYTE* const bytes = out.bytes.get();
  bytes[0] = SECURITY_DESCRIPTOR_REVISION;
  store(bytes + static_cast<DWORD>(Com_Offset::owner), new_owner_offset);
  store(bytes + static_cast<DWORD>(Com_Offset::group), new_group_offset);
  place_everybody(bytes + new_owner_offset);
  place_everybody(bytes + new_group_offset);
  return ERROR_SUCCESS;
}

LONG KvSDGetRegistrySD(HKEY key, const char* value_name, Com_Descriptor& out) {
  Com_Descriptor found;
  const LONG result = read_value(key, value_name, found);
  if (result != ERROR_SUCCESS) return result;
  turn_to_host_order(found.bytes.get(), found.size);
  if (found.bytes.get()[0] != SECURITY_DESCRIPTOR_REVISION) return REGDB_E_INVALIDVALUE;
  out = std::move(found);
  return ERROR_SUCCESS;
}

}  // namespace kelvane
