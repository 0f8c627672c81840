// The UTF-8 decoder and encoder. One step decodes a character; copying and counting are loops around it.
#include "kernel32/text/utf8.h"

#include <algorithm>
#include <cstring>

#include "kernel32/text/ascii_run.h"
#include "kernel32/text/raw_byte.h"

inline namespace kelvane {
namespace {

using Byte = unsigned char;

struct Step {
  wchar_t character;
  unsigned size; /* bytes taken */
};

unsigned payload(std::uint32_t bytes, int index) { return bytes >> 8 * index & 0x3Fu; }

// Up to four bytes, the first in the low eight bits; missing ones are zero, which continues no sequence.
std::uint32_t word_at(const Byte* at, size_t left) {
  std::uint32_t word = 0;
  std::memcpy(&word, at, left < sizeof word ? left : sizeof word);
  return word;
}

// One character that begins with a byte beyond ASCII. The masks take the marks of a lead byte and of the
// continuations behind it.
inline Step step_in(std::uint32_t word) {
  const auto lead = static_cast<Byte>(word);
  if ((word & 0xC0E0u) == 0x80C0u && lead >= 0xC2) {
    return {static_cast<wchar_t>((lead & 0x1Fu) << 6 | payload(word, 1)), 2};
  }
  if ((word & 0xC0C0F0u) == 0x8080E0u) {
    const auto character = static_cast<wchar_t>((lead & 0x0Fu) << 12 | payload(word, 1) << 6 | payload(word, 2));
    if (character >= 0x800 && !is_raw_byte(character, true)) return {character, 3};
  }
  if ((word & 0xC0C0C0F8u) == 0x808080F0u) {
    const auto character =
        static_cast<wchar_t>((lead & 0x07u) << 18 | payload(word, 1) << 12 | payload(word, 2) << 6 | payload(word, 3));
    if (character >= 0x10000 && character <= 0x10FFFF) return {character, 4};
  }
  return {raw_byte(lead), 1};
}

Step step_at(const Byte* at, size_t left) { return step_in(word_at(at, left)); }

// Decodes characters beyond ASCII as long as four bytes can be read at once.
void decode_run(const Byte*& at, const Byte* end, wchar_t*& to, const wchar_t* to_end) {
  while (end - at >= 4 && to != to_end && *at >= 0x80) {
    const Step step = step_in(word_at(at, 4));
    *to++ = step.character;
    at += step.size;
  }
}

const Byte* bytes_of(const char* text) { return reinterpret_cast<const Byte*>(text); }

const char* text_of(const Byte* bytes) { return reinterpret_cast<const char*>(bytes); }

struct Encoded {
  std::uint32_t word; /* the first byte in the low eight bits */
  unsigned size;      /* bytes */
};

std::uint32_t continuation(std::uint32_t code, int shift) { return 0x80u | (code >> shift & 0x3Fu); }

[[gnu::always_inline]] inline Encoded encoded(wchar_t character) {
  const auto code = static_cast<std::uint32_t>(character);
  if (code < 0x80) return {code, 1};
  if (code < 0x800) return {0xC0u | code >> 6 | continuation(code, 0) << 8, 2};
  if (code < 0x10000) {
    if (is_raw_byte(character, true)) return {code & 0xFFu, 1};
    return {0xE0u | code >> 12 | continuation(code, 6) << 8 | continuation(code, 0) << 16, 3};
  }
  if (code > 0x10FFFF) return {static_cast<Byte>('?'), 1};
  return {0xF0u | code >> 18 | continuation(code, 12) << 8 | continuation(code, 6) << 16 | continuation(code, 0) << 24,
          4};
}

bool is_ascii(wchar_t character) { return static_cast<std::uint32_t>(character) < 0x80; }

// Encodes characters beyond ASCII as long as four bytes can be written at once.
void encode_run(const wchar_t*& text, const wchar_t* end, char*& to, const char* to_end) {
  const wchar_t* from = text;
  char* out = to;
  while (from != end && to_end - out >= 4 && !is_ascii(*from)) {
    const Encoded bytes = encoded(*from++);
    std::memcpy(out, &bytes.word, sizeof bytes.word);
    out += bytes.size;
  }
  text = from;
  to = out;
}

}  // namespace

size_t Utf8_Page::decode(const char* text, size_t size, wchar_t* out, size_t room) const {
  const Byte* at = bytes_of(text);
  const Byte* const end = at + size;
  wchar_t* to = out;
  wchar_t* const to_end = out + room;
  while (at != end) {
    if (to == to_end) return does_not_fit;
    if (*at < 0x80) {
      const auto most = static_cast<size_t>(std::min<std::ptrdiff_t>(end - at, to_end - to));
      const size_t run = widen_ascii_run(text_of(at), most, to);
      at += run;
      to += run;
    } else if (end - at >= 4) {
      decode_run(at, end, to, to_end);
    } else {
      const Step step = step_at(at, static_cast<size_t>(end - at));
      *to++ = step.character;
      at += step.size;
    }
  }
  return static_cast<size_t>(to - out);
}

Decoded_Length Utf8_Page::decoded_length(const char* text, size_t size) const {
  const Byte* at = bytes_of(text);
  const Byte* const end = at + size;
  Decoded_Length result{0, true};
  while (at != end) {
    const auto left = static_cast<size_t>(end - at);
    if (*at < 0x80) {
      const size_t run = ascii_run_size(text_of(at), left);
      at += run;
      result.length += run;
    } else {
      const Step step = step_at(at, left);
      at += step.size;
      ++result.length;
      result.clean = result.clean && step.size != 1;
    }
  }
  return result;
}

size_t Utf8_Page::encode(const wchar_t* text, size_t length, char* out, size_t room) const {
  const wchar_t* const end = text + length;
  char* to = out;
  char* const to_end = out + room;
  while (text != end) {
    if (to == to_end) return does_not_fit;
    if (is_ascii(*text)) {
      const auto most = static_cast<size_t>(std::min<std::ptrdiff_t>(end - text, to_end - to));
      const size_t run = narrow_ascii_run(text, most, to);
      text += run;
      to += run;
    } else if (to_end - to >= 4) {
      encode_run(text, end, to, to_end);
    } else {
      const Encoded bytes = encoded(*text++);
      if (to_end - to < static_cast<std::ptrdiff_t>(bytes.size)) return does_not_fit;
      std::memcpy(to, &bytes.word, bytes.size);
      to += bytes.size;
    }
  }
  return static_cast<size_t>(to - out);
}

size_t Utf8_Page::encoded_size(const wchar_t* text, size_t length) const {
  size_t size = 0;
  for (size_t i = 0; i < length; ++i) size += encoded(text[i]).size;
  return size;
}

}  // namespace kelvane
