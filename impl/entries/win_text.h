// Text that crosses the table, in both directions. Short text stays off the heap.
#pragma once

#include <kelvane/registry_table.h>

#include <memory>
#include <string_view>

#include "impl/registry_service.h"

namespace impl {

// The units of a WinChar text up to its terminator. Null text is empty.
class Win_Text {
 public:
  explicit Win_Text(const WinChar* text);
  Win_Text(const Win_Text&) = delete;
  Win_Text& operator=(const Win_Text&) = delete;

  std::u16string_view view() const { return {units_, length_}; }

 private:
  static constexpr std::size_t inline_units = 512;

  void copy_long(const WinChar* text);

  const char16_t* units_ = inline_;
  std::size_t length_ = 0;
  std::unique_ptr<char16_t[]> heap_;
  char16_t inline_[inline_units];
};

// Room for a text that goes back to the caller's buffer of `count` WinChars, terminator included; no more
// than `limit` is ever needed. A null buffer asks for the length only.
class Win_Text_Room {
 public:
  Win_Text_Room(WinChar* buffer, DWORD count, std::size_t limit);
  Win_Text_Room(const Win_Text_Room&) = delete;
  Win_Text_Room& operator=(const Win_Text_Room&) = delete;

  Text_Room& room() { return room_; }
  DWORD length() const { return static_cast<DWORD>(room_.length); }

  // Writes the text and its terminator into the caller's buffer, if there is one.
  void deliver() const;

 private:
  static constexpr std::size_t inline_units = 512;

  WinChar* buffer_;
  Text_Room room_;
  std::unique_ptr<char16_t[]> heap_;
  char16_t inline_[inline_units];
};

}  // namespace impl
