// The way back for ANSI callers: what the implementation wrote becomes multi-byte text, measured and copied
// under the caller's size rule. Pure ASCII goes straight into the caller's buffer.

#include "registry/ansi_buffers.h"

#include <kelvane/text.h>
#include <winerror.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

inline namespace kelvane {
namespace {

constexpr std::uint32_t up_to_terminator = 0xffffffff;

// Room on the stack for the wide form of 2,047 characters.
using Wide_Text = Buffer<wchar_t, 2048 * sizeof(wchar_t)>;

std::size_t terminated_length(const WinChar* text, std::size_t room) {
  std::size_t count = 0;
  while (count < room && (text[count].high != 0 || text[count].low != 0)) ++count;
  return count + 1;
}

// Stores the size told to the caller and copies when it fits; a room of 2 GiB and more is none.
class Caller_Text {
 public:
  Caller_Text(char* dest, unsigned* pcount, int is_value) : dest_(dest), pcount_(pcount), is_value_(is_value) {}

  // Tells the size; true when text of that size is to be copied.
  bool takes(std::size_t size, DWORD& result) {
    const auto old = static_cast<std::int64_t>(static_cast<int>(*pcount_));
    *pcount_ = static_cast<unsigned>(is_value_ != 0 ? size : size - 1);
    result = dest_ != nullptr && old < static_cast<std::int64_t>(size) ? ERROR_MORE_DATA : ERROR_SUCCESS;
    return dest_ != nullptr && result == ERROR_SUCCESS;
  }

  char* dest() { return dest_; }

 private:
  char* dest_;
  unsigned* pcount_;
  int is_value_;
};

// What the implementation has told: the units that it had room for, and how many it told beyond them, which are
// taken for zeros.
struct Told_Text {
  const WinChar* units;
  std::size_t count;
  std::size_t beyond;
};

DWORD return_ascii(const Told_Text& text, Caller_Text& caller) {
  DWORD result;
  if (!caller.takes(text.count + text.beyond, result)) return result;
  narrow_ascii(text.units, text.count, caller.dest());
  if (text.beyond != 0) std::memset(caller.dest() + text.count, 0, text.beyond);
  return result;
}

DWORD return_through_code_page(const Told_Text& text, Caller_Text& caller) {
  Wide_Text wide;
  wide.room(text.count);
  for (std::size_t i = 0; i < text.count; ++i) wide.data[i] = from_win_char(text.units[i]);
  const KvAnsiStringWithLength narrow(wide.data, static_cast<int>(text.count));
  const auto size = static_cast<std::size_t>(narrow.size());
  DWORD result;
  if (!caller.takes(size + text.beyond, result)) return result;
  std::memcpy(caller.dest(), narrow.text(), size);
  std::memset(caller.dest() + size, 0, text.beyond);
  return result;
}

}  // namespace

void WinBuffer::extend() {
  offered = units();
  buffer.zeroed_room(offered);
}

DWORD WinBuffer::saveable_to_char(char* dest, unsigned* pcount, int is_value) {
  auto needed = static_cast<std::uint32_t>(units() + (is_value != 0 ? 0 : 1));
  if (pcount == nullptr) return ERROR_SUCCESS;
  if (needed == 0) {
    *pcount = 0;
    return ERROR_SUCCESS;
  }
  Caller_Text caller(dest, pcount, is_value);
  if (!has_data()) {
    // Nothing was asked for but the count: the number of units is all that is known.
    DWORD ignored;
    caller.takes(needed, ignored);
    return ERROR_SUCCESS;
  }
  const std::size_t told = needed == up_to_terminator ? terminated_length(buffer.data, offered) : needed;
  const std::size_t length = std::min(told, offered);
  const Told_Text text{buffer.data, length, told - length};
  const bool plain = ascii_is_kept() && ascii_run(text.units, length) == length;
  return plain ? return_ascii(text, caller) : return_through_code_page(text, caller);
}

void WinBuffer::return_as_string(char* dest, unsigned* pcount) {
  if (countPointer != nullptr) saveable_to_char(dest, pcount, 0);
}

}  // namespace kelvane
