// A value as the server tells it, for a caller's room.
#pragma once

#include "impl/registry_service.h"
#include "impl/wire/fields.h"

namespace impl::client {

// Whether an answer of this code tells type and size.
inline bool is_told(DWORD code) { return code == ERROR_SUCCESS || code == ERROR_MORE_DATA; }

// The most data that the caller takes.
inline wire::Number room_for(const Value_Room& value) { return value.data == nullptr ? 0 : value.room; }

// Whether data of this size is delivered: there is a buffer, and it has room.
inline bool takes(const Value_Room& value, DWORD size) { return value.data != nullptr && size <= value.room; }

// What the server gave of a value, in the message or in sealed memory. False when it is not what it says.
bool copy_data(wire::Bytes data, wire::Memory memory, DWORD size, BYTE* out);

}  // namespace impl::client
