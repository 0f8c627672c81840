// Reading several values into one buffer. They are gathered in a scratch area first, so that the caller's
// buffer changes only when all of them fit.

#include <kelvane/advapi32.h>

#include <cstring>

#include "registry/array.h"
#include "registry/gate.h"

inline namespace kelvane {
namespace {

constexpr DWORD max_total_size = 0x100000;

constexpr DWORD aligned(DWORD size) { return (size + 3) & ~DWORD{3}; }

// Entry is VALENTA or VALENTW; `query` reads one value under the entry's kind of name.
template <class Entry, auto query>
class Value_Gathering {
 public:
  // total is the room in bytes; without a buffer only sizes are learnt.
  Value_Gathering(DWORD count, bool has_buffer, DWORD total)
      : total_(total), has_buffer_(has_buffer), scratch_(has_buffer ? total : 0), types_(count), sizes_(count) {}

  // Reads every value; the first error ends it.
  LSTATUS read(HKEY key, const Entry* values, DWORD count) {
    for (DWORD i = 0; i < count; ++i) {
      sizes_[i] = total_ - offset_;
      const LSTATUS result = query(key, values[i].ve_valuename, nullptr, &types_[i], place(), &sizes_[i]);
      if (result != ERROR_SUCCESS) return result;
      offset_ = aligned(offset_ + sizes_[i]);
    }
    return ERROR_SUCCESS;
  }

  // Bytes that all values take, each rounded up to a multiple of 4.
  DWORD needed() const { return offset_; }

  void deliver(Entry* values, DWORD count, void* buffer) {
    if (buffer != nullptr && offset_ != 0) std::memcpy(buffer, scratch_.data(), offset_);
    DWORD offset = 0;
    for (DWORD i = 0; i < count; ++i) {
      values[i].ve_valuelen = sizes_[i];
      values[i].ve_valueptr = reinterpret_cast<DWORD_PTR>(buffer) + offset;
      values[i].ve_type = types_[i];
      offset += aligned(sizes_[i]);
    }
  }

 private:
  // Where the next value goes; null once the scratch area is passed, where only sizes are still learnt.
  LPBYTE place() { return has_buffer_ && offset_ <= total_ ? scratch_.data() + offset_ : nullptr; }

  DWORD total_;
  DWORD offset_ = 0;
  bool has_buffer_;
  Array<BYTE> scratch_;
  Array<DWORD> types_;
  Array<DWORD> sizes_;
};

template <class Entry, auto query>
LSTATUS query_multiple(HKEY key, Entry* values, DWORD count, void* buffer, DWORD* total_size) {
  if (total_size == nullptr) return ERROR_INVALID_PARAMETER;
  if (buffer != nullptr && (*total_size == 0 || *total_size > max_total_size)) return ERROR_INVALID_PARAMETER;
  Value_Gathering<Entry, query> gathering(count, buffer != nullptr, *total_size);
  const LSTATUS result = gathering.read(key, values, count);
  if (result != ERROR_SUCCESS) return result;
  const bool fits = buffer == nullptr || gathering.needed() <= *total_size;
  *total_size = gathering.needed();
  // QUIRK multiple-values-87: too small a buffer is an invalid parameter here, not more data.
  if (!fits) return ERROR_INVALID_PARAMETER;
  gathering.deliver(values, count, buffer);
  return ERROR_SUCCESS;
}

}  // namespace
}  // namespace kelvane

LSTATUS RegQueryMultipleValuesA(HKEY key, PVALENTA values, DWORD count, LPSTR buffer, LPDWORD total_size) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    return query_multiple<VALENTA, RegQueryValueExA>(key, values, count, buffer, total_size);
  });
}

LSTATUS RegQueryMultipleValuesW(HKEY key, PVALENTW values, DWORD count, LPWSTR buffer, LPDWORD total_size) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    return query_multiple<VALENTW, RegQueryValueExW>(key, values, count, buffer, total_size);
  });
}
