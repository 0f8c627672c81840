// Characters of 32 bits to WinChars, four and eight at a time. Text up to its terminator is read in blocks that lie on
// their own size: such a block never reaches into a page that the text does not.

#include <emmintrin.h>

#include <bit>
#include <cstdint>
#include <cstring>

#include "registry/wide_buffers.h"
#include "registry/win_char.h"

inline namespace kelvane {
namespace {

constexpr std::size_t block = 4;  // characters

wchar_t character_at(const wchar_t* text, std::size_t index) {
  wchar_t character;
  std::memcpy(&character, reinterpret_cast<const unsigned char*>(text) + index * sizeof character, sizeof character);
  return character;
}

std::uintptr_t offset_in_block(const wchar_t* text) {
  return reinterpret_cast<std::uintptr_t>(text) % (block * sizeof(wchar_t));
}

// The low halves of four characters, each with its bytes exchanged and widened with its sign.
inline __m128i exchanged(__m128i characters) {
  const __m128i low = _mm_slli_epi32(characters, 24);
  const __m128i high = _mm_and_si128(_mm_slli_epi32(characters, 8), _mm_set1_epi32(0xff0000));
  return _mm_srai_epi32(_mm_or_si128(low, high), 16);
}

}  // namespace

void to_win_chars(const wchar_t* text, std::size_t count, WinChar* out) {
  std::size_t done = 0;
  while (count - done >= 2 * block) {
    const auto* const from = reinterpret_cast<const __m128i*>(text + done);
    const __m128i first = exchanged(_mm_loadu_si128(from));
    const __m128i second = exchanged(_mm_loadu_si128(from + 1));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + done), _mm_packs_epi32(first, second));
    done += 2 * block;
  }
  for (; done < count; ++done) out[done] = to_win_char(character_at(text, done));
}

// Reads behind the terminator, on purpose.
__attribute__((no_sanitize("address", "thread"))) std::size_t terminated_to_win_chars(const wchar_t* text,
                                                                                      std::size_t most, WinChar* out) {
  const bool has_blocks = offset_in_block(text) % sizeof(wchar_t) == 0;
  std::size_t done = 0;
  while (done < most) {
    if (has_blocks && offset_in_block(text + done) == 0 && most - done >= block) {
      const __m128i characters = _mm_load_si128(reinterpret_cast<const __m128i*>(text + done));
      const __m128i units = exchanged(characters);
      _mm_storel_epi64(reinterpret_cast<__m128i*>(out + done), _mm_packs_epi32(units, units));
      const __m128i zeros = _mm_cmpeq_epi32(characters, _mm_setzero_si128());
      const auto zero_mask = static_cast<unsigned>(_mm_movemask_ps(_mm_castsi128_ps(zeros)));
      if (zero_mask != 0) return done + static_cast<std::size_t>(std::countr_zero(zero_mask)) + 1;
      done += block;
    } else {
      const wchar_t character = character_at(text, done);
      out[done++] = to_win_char(character);
      if (character == L'\0') return done;
    }
  }
  return 0;
}

}  // namespace kelvane
