// The list is walked while it grows: each path in turn adds its children at the end, which needs no recursion and puts
// the paths in the order of their depth.
#include "registry/later/path_list.h"

#include <winerror.h>
#include <winreg.h>

#include "bootstrap/registry_table.h"
#include "registry/array.h"
#include "registry/later/opened_key.h"
#include "registry/later/stored_names.h"

inline namespace kelvane {
namespace {

constexpr WinChar separator = {0, '\\'};
constexpr WinChar terminator = {0, 0};

std::size_t length_of(const WinChar* text) {
  std::size_t length = 0;
  while (!is_zero(text[length])) ++length;
  return length;
}

}  // namespace

std::size_t& Path_List::begin_of(std::size_t index) { return reinterpret_cast<std::size_t*>(begins_.data())[index]; }

const WinChar* Path_List::operator[](std::size_t index) {
  return reinterpret_cast<const WinChar*>(text_.data() + begin_of(index));
}

void Path_List::append(const WinChar* path, const WinChar* name) {
  const std::size_t path_length = path != nullptr ? length_of(path) : 0;
  const std::size_t name_length = length_of(name);
  const std::size_t needed = text_size_ + (path_length + name_length + 2) * sizeof(WinChar);
  const std::size_t begins_needed = (count_ + 1) * sizeof(std::size_t);
  if (needed > text_.room()) text_.grow(2 * needed, text_size_);
  if (begins_needed > begins_.room()) begins_.grow(2 * begins_needed, count_ * sizeof(std::size_t));
  auto* out = reinterpret_cast<WinChar*>(text_.data() + text_size_);
  begin_of(count_++) = text_size_;
  if (path_length != 0) {
    std::memcpy(out, path, path_length * sizeof(WinChar));
    out += path_length;
    *out++ = separator;
  }
  std::memcpy(out, name, name_length * sizeof(WinChar));
  out += name_length;
  *out++ = terminator;
  text_size_ = static_cast<std::size_t>(reinterpret_cast<BYTE*>(out) - text_.data());
}

LSTATUS Path_List::collect_children(HKEY key, const WinChar* path) {
  for (DWORD index = 0;; ++index) {
    WinChar name[key_name_room];
    DWORD count = key_name_room;
    const auto result = static_cast<LSTATUS>(
        slot<Slot::KvIRegEnumKeyEx>(key, index, name, &count, nullptr, nullptr, nullptr, nullptr, nullptr));
    if (result == ERROR_NO_MORE_ITEMS) return ERROR_SUCCESS;
    if (result != ERROR_SUCCESS) return result;
    append(path, name);
  }
}

LSTATUS Path_List::collect(HKEY key) {
  LSTATUS result = collect_children(key, nullptr);
  for (std::size_t at = 0; at < count_ && result == ERROR_SUCCESS; ++at) {
    // Appending may move the text.
    const std::size_t length = length_of((*this)[at]) + 1;
    Array<WinChar> path(length);
    std::memcpy(path.data(), (*this)[at], length * sizeof(WinChar));
    Opened_Key opened;
    result = static_cast<LSTATUS>(
        slot<Slot::KvIRegOpenKeyEx>(key, path.data(), DWORD{0}, DWORD{KEY_ENUMERATE_SUB_KEYS}, opened.out(), nullptr));
    if (result == ERROR_SUCCESS) result = collect_children(opened.get(), path.data());
  }
  return result;
}

}  // namespace kelvane
