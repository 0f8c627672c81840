// Text on its way to the registry's implementation: the saveable form, a sequence of WinChars.
//
// A WinChar is a 16-bit code unit, high byte first on every host. Text of up to 4,095 bytes of WinChars
// (2,047 characters) is converted without touching the heap. All objects live on one front's stack for one
// call.
#pragma once

#include <kelvane/registry_table.h>

#include <cstddef>
#include <cstring>

inline namespace kelvane {

// REG_SZ, REG_EXPAND_SZ and REG_MULTI_SZ; every other type, known or not, is bytes.
constexpr bool is_string_type(unsigned type) {
  constexpr unsigned string_types = 1u << REG_SZ | 1u << REG_EXPAND_SZ | 1u << REG_MULTI_SZ;
  return type <= REG_MULTI_SZ && (string_types >> type & 1) != 0;
}

// Keeps the low 16 bits only.
// QUIRK wide-characters-truncated: a character above U+FFFF loses its upper bits, it becomes no pair.
constexpr WinChar to_win_char(wchar_t character) {
  return {static_cast<unsigned char>(character >> 8), static_cast<unsigned char>(character)};
}

constexpr wchar_t from_win_char(WinChar unit) { return static_cast<wchar_t>(unit.high << 8 ^ unit.low); }

// A growable array with storage of its own for short content. `data` is null, points into the object, or at a
// heap array that the object owns.
template <class T, std::size_t inline_size = 4096>
class Buffer {
 public:
  Buffer() : data(nullptr) {}
  ~Buffer() { release(); }
  Buffer(const Buffer&) = delete;
  Buffer& operator=(const Buffer&) = delete;

  // Makes room for count elements in place of what was held. Inline room is not cleared here.
  T* room(std::size_t count) {
    release();
    const bool fits = count * sizeof(T) < inline_size;
    data = fits ? reinterpret_cast<T*>(inlineStorage) : new T[count];
    return data;
  }

  // The same with inline room cleared; heap room is left as the heap gives it. Short room is cleared with a
  // whole block, which needs no call.
  T* zeroed_room(std::size_t count) {
    room(count);
    if (!is_inline()) return data;
    constexpr std::size_t block = 64;
    std::memset(inlineStorage, 0, block);
    if (count * sizeof(T) > block) std::memset(inlineStorage, 0, count * sizeof(T));
    return data;
  }

  void release() {
    if (!is_inline()) delete[] data;
    data = nullptr;
  }

  bool is_inline() const { return data == reinterpret_cast<const T*>(inlineStorage); }

  T* data;
  alignas(T) unsigned char inlineStorage[inline_size];
};

// Converts length bytes of multi-byte text (-1: up to and including the terminator). Null text gives null
// data. *out_count, when given, is the number of WinChars.
void char_to_saveable(const char* text, Buffer<WinChar>& out, int length, unsigned* out_count);

// The same for text that is there; returns the number of WinChars.
std::size_t convert_text(const char* text, std::size_t size, Buffer<WinChar>& out);

// The same for text up to and including its terminator.
void convert_name(const char* text, Buffer<WinChar>& out);

// A name as the slots take it: terminated, or null for null.
class Saveable_Name {
 public:
  explicit Saveable_Name(const char* text) {
    if (text != nullptr) convert_name(text, buffer_);
  }
  const WinChar* data() const { return buffer_.data; }

 private:
  Buffer<WinChar> buffer_;
};

// A value's data ready for the implementation: text converted, other types the caller's own bytes.
class WinVal {
 public:
  WinVal(unsigned type, const unsigned char* value, unsigned size);

  const unsigned char* data;
  unsigned length;  // bytes
  Buffer<WinChar> buffer;
};

// Runs of characters that ASCII and 16-bit units share, at the start of a text.
// Writes the WinChars of the ASCII bytes up to the first other byte; returns how many there were.
std::size_t widen_ascii_run(const char* text, std::size_t length, WinChar* out);
// The same for a whole text with its terminator, of less than `most` bytes and all ASCII: else, or where blocks of it
// cannot be read, it is false. Writes up to `most` WinChars.
bool widen_terminated_ascii(const char* text, std::size_t most, WinChar* out);
// The number of ASCII bytes before the first other byte.
std::size_t ascii_run(const char* text, std::size_t length);
// The number of WinChars below U+0080 before the first other one.
std::size_t ascii_run(const WinChar* text, std::size_t count);
// Writes the bytes of count WinChars that are all below U+0080.
void narrow_ascii(const WinChar* text, std::size_t count, char* out);

// Whether runs of ASCII may be converted without the code page; settled at the first question.
bool ascii_is_kept();

static_assert(offsetof(Buffer<WinChar>, data) == 0 && sizeof(Buffer<WinChar>) == 8 + 4096);
static_assert(offsetof(WinVal, data) == 0 && offsetof(WinVal, length) == 8 && offsetof(WinVal, buffer) == 16);

}  // namespace kelvane
