// Between WinChars, high byte first, and 16-bit units of the host.
#include "impl/entries/win_text.h"

#include <algorithm>
#include <bit>
#include <cstdint>

namespace impl {
namespace {

char16_t unit_of(WinChar character) { return static_cast<char16_t>(character.high << 8 | character.low); }

WinChar win_char_of(char16_t unit) {
  return {static_cast<unsigned char>(unit >> 8), static_cast<unsigned char>(unit & 0xFF)};
}

// Eight characters, which become units.
using Units = std::uint16_t __attribute__((vector_size(16)));
using Units_Anywhere __attribute__((aligned(1), may_alias)) = Units;
constexpr std::size_t block = sizeof(Units) / sizeof(std::uint16_t);
static_assert(std::endian::native == std::endian::little);

// How many units stand before the terminator; all of them when it is not there.
std::size_t length_of(Units units) {
  using Halves = std::uint64_t __attribute__((vector_size(16)));
  constexpr std::size_t unit_bits = 16;
  const Halves ends = reinterpret_cast<Halves>(units == 0);
  if (ends[0] != 0) return static_cast<std::size_t>(std::countr_zero(ends[0])) / unit_bits;
  if (ends[1] != 0) return block / 2 + static_cast<std::size_t>(std::countr_zero(ends[1])) / unit_bits;
  return block;
}

constexpr std::uintptr_t page_size = 4096;

// Converts blocks up to the terminator or, before that, to the last one that lies in one page: it looks at what stands
// behind the terminator. Returns how much is done.
__attribute__((no_sanitize("address", "thread"))) std::size_t convert_blocks(const WinChar* text, char16_t* out,
                                                                             std::size_t room, bool* out_ended) {
  *out_ended = false;
  std::size_t done = 0;
  while (done + block <= room) {
    if (reinterpret_cast<std::uintptr_t>(text + done) % page_size > page_size - sizeof(Units)) return done;
    const Units characters = *reinterpret_cast<const Units_Anywhere*>(text + done);
    const Units units = characters << 8 | characters >> 8;
    *reinterpret_cast<Units_Anywhere*>(out + done) = units;
    const std::size_t length = length_of(units);
    done += length;
    if ((*out_ended = length < block)) return done;
  }
  return done;
}

}  // namespace

Win_Text::Win_Text(const WinChar* text) {
  if (text == nullptr) return;
  bool ended = false;
  length_ = convert_blocks(text, inline_, inline_units, &ended);
  if (ended) return;
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
