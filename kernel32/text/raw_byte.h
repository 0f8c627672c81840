/* Undecodable bytes as wide characters: the byte b is carried as the lone surrogate U+DC00 + b. */
#ifndef KELVANE_KERNEL32_TEXT_RAW_BYTE_H
#define KELVANE_KERNEL32_TEXT_RAW_BYTE_H

#include <cstdint>

inline namespace kelvane {

constexpr wchar_t raw_byte(unsigned char byte) { return static_cast<wchar_t>(0xDC00 + byte); }

/* Whether the character stands for a byte; the byte is its low eight bits. The lower half of the range is
 * used only by pages in which a byte below 0x80 may be undecodable. */
constexpr bool is_raw_byte(wchar_t character, bool page_keeps_ascii) {
  const auto offset = static_cast<std::uint32_t>(character) - 0xDC00u;
  return offset <= 0xFF && (offset >= 0x80 || !page_keeps_ascii);
}

}  // namespace kelvane

#endif
