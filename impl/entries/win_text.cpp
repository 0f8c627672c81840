// Between WinChars, high byte first, and 16-bit units of the host.
#include "impl/entries/win_text.h"

#include <algorithm>

namespace impl {
namespace {

char16_t unit_of(WinChar character) { return static_cast<char16_t>(character.high << 8 | character.low); }

WinChar win_char_of(char16_t unit) {
  return {static_cast<unsigned char>(unit >> 8), static_cast<unsigned char>(unit & 0xFF)};
}

}  // namespace

Win_Text::Win_Text(const WinChar* text) {
  if (text == nullptr) return;
  for (; length_ < inline_units; ++length_) {
    inline_[length_] = unit_of(text[length_]);
    if (inline_[length_] == 0) return;
  }
  copy_long(text);
}

void Win_Text::copy_long(const WinChar* text) {
  while (unit_of(text[length_]) != 0) ++length_;
  heap_.reset(new char16_t[length_]);
  std::transform(text, text + length_, heap_.get(), unit_of);
  units_ = heap_.get();
}

Win_Text_Room::Win_Text_Room(WinChar* buffer, DWORD count, std::size_t limit) : buffer_(buffer) {
  if (buffer == nullptr) return;
  room_.room = std::min<std::size_t>(count, limit);
  if (room_.room > inline_units) heap_.reset(new char16_t[room_.room]);
  room_.text = heap_ ? heap_.get() : inline_;
}

void Win_Text_Room::deliver() const {
  if (buffer_ == nullptr) return;
  std::transform(room_.text, room_.text + room_.length, buffer_, win_char_of);
  buffer_[room_.length] = WinChar{0, 0};
}

}  // namespace impl
