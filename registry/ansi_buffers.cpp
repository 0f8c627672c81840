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

// Stores the size told to the caller and copies when it fits. `old` and `size` are compared as signed.
class Caller_Text {
 public:
  Caller_Text(char* dest, unsigned* pcount, int is_value) : dest_(dest), pcount_(pcount), is_value_(is_value) {}

  // Tells the size; true when text of that size is to be copied.
  bool takes(std::size_t size, DWORD& result) {
    const int old = static_cast<int>(*pcount_);
    const int length = static_cast<int>(size);
    *pcount_ = static_cast<unsigned>(is_value_ != 0 ? length : length - 1);
    result = dest_ != nullptr && old < length ? ERROR_MORE_DATA : ERROR_SUCCESS;
    return dest_ != nullptr && result == ERROR_SUCCESS;
  }

  char* dest() { return dest_; }

 private:
  char* dest_;
  unsigned* pcount_;
  int is_value_;
};

DWORD return_ascii(const WinChar* text, std::size_t count, Caller_Text& caller) {
  DWORD result;
  if (caller.takes(count, result)) narrow_ascii(text, count, caller.dest());
  return result;
}

DWORD return_through_code_page(const WinChar* text, std::size_t count, Caller_Text& caller) {
  Wide_Text wide;
  wide.room(count);
  for (std::size_t i = 0; i < count; ++i) wide.data[i] = from_win_char(text[i]);
  const KvAnsiStringWithLength narrow(wide.data, static_cast<int>(count));
  const auto size = static_cast<std::size_t>(narrow.size());
  DWORD result;
  if (caller.takes(size, result)) std::memcpy(caller.dest(), narrow.text(), size);
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
  const bool plain = ascii_is_kept() && ascii_run(buffer.data, length) == length;
  return plain ? return_ascii(buffer.data, length, caller) : return_through_code_page(buffer.data, length, caller);
}

void WinBuffer::return_as_string(char* dest, unsigned* pcount) {
  if (countPointer != nullptr) saveable_to_char(dest, pcount, 0);
}

}  // namespace kelvane
