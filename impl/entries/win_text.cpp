// Between WinChars, high byte first, and 16-bit units of the host.
#include "impl/entries/win_text.h"

#include <algorithm>
#include <cstdint>

namespace impl {
namespace {

char16_t unit_of(WinChar character) { return static_cast<char16_t>(character.high << 8 | character.low); }

WinChar win_char_of(char16_t unit) {
  return {static_cast<unsigned char>(unit >> 8), static_cast<unsigned char>(unit & 0xFF)};
}

// Four characters as one number, turned into units.
constexpr std::size_t quad = 4;
constexpr std::uintptr_t page_size = 4096;

std::uint64_t units_of_quad(std::uint64_t characters) {
  return (characters & 0x00FF00FF00FF00FF) << 8 | (characters >> 8 & 0x00FF00FF00FF00FF);
}

bool has_terminator(std::uint64_t units) { return ((units - 0x0001000100010001) & ~units & 0x8000800080008000) != 0; }

// Converts whole quads before the terminator. It looks up to three characters beyond that, never into another
// page.
#if defined(__SANITIZE_ADDRESS__) || defined(__clang__)
__attribute__((no_sanitize("address")))
#endif
std::size_t
convert_quads(const WinChar* text, char16_t* out, std::size_t room) {
  std::size_t done = 0;
  for (; done + quad <= room; done += quad) {
    std::uint64_t characters;
    if (reinterpret_cast<std::uintptr_t>(text + done) % page_size > page_size - sizeof characters) return done;
    __builtin_memcpy(&characters, text + done, sizeof characters);
    const std::uint64_t units = units_of_quad(characters);
    if (has_terminator(units)) return done;
    __builtin_memcpy(out + done, &units, sizeof units);
  }
  return done;
}

}  // namespace

Win_Text::Win_Text(const WinChar* text) {
  if (text == nullptr) return;
  length_ = convert_quads(text, inline_, inline_units);
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
