// Which kind of page a codeset is comes from asking its converter about every byte: when each of them is one
// character, or none, on its own, a table says it all.
#include "kernel32/text/code_page.h"

#include <cctype>
#include <cstring>

#include "kernel32/text/converter.h"
#include "kernel32/text/locale_codeset.h"
#include "kernel32/text/multi_byte.h"
#include "kernel32/text/raw_byte.h"
#include "kernel32/text/single_byte.h"
#include "kernel32/text/utf8.h"

inline namespace kelvane {
namespace {

struct Byte_Probe {
  wchar_t characters[256];
  bool single_byte;
};

// "UTF-8", "utf8", "UTF_8": letters and digits decide.
bool is_utf8_name(const char* codeset) {
  const char* expected = "utf8";
  for (; *codeset != '\0'; ++codeset) {
    const auto byte = static_cast<unsigned char>(*codeset);
    if (std::isalnum(byte) != 0 && std::tolower(byte) != *expected++) return false;
  }
  return *expected == '\0';
}

// Probes one byte; false when it does not stand for itself alone (it begins a sequence or changes a state).
bool probe_byte(Converter& decoder, unsigned char byte, wchar_t& character) {
  const char text = static_cast<char>(byte);
  const char* in = &text;
  wchar_t decoded[4];
  char* out = reinterpret_cast<char*>(decoded);
  const Converter::Result result = decoder.convert(in, in + 1, out, reinterpret_cast<char*>(decoded + 4));
  const bool one = out == reinterpret_cast<char*>(decoded + 1);
  character = one ? decoded[0] : raw_byte(byte);
  if (result == Converter::Result::stopped) return !decoder.stopped_inside_sequence();
  return one && result == Converter::Result::done;
}

Byte_Probe probe_bytes(Converter& decoder) {
  Byte_Probe probe{};
  probe.single_byte = true;
  for (unsigned byte = 0; byte < 256; ++byte) {
    const bool alone = probe_byte(decoder, static_cast<unsigned char>(byte), probe.characters[byte]);
    probe.single_byte = probe.single_byte && alone;
  }
  return probe;
}

// Whether an ASCII byte stays itself behind this byte, wherever a longer sequence could take it in.
bool keeps_behind(Converter& decoder, char lead, char ascii) {
  const char text[] = {lead, ascii, lead, ascii, ascii, ascii};
  wchar_t decoded[12];
  const size_t length = decode_through(decoder, text, sizeof text, decoded, 12);
  if (length != sizeof text) return false;
  return decoded[1] == ascii && decoded[3] == ascii && decoded[4] == ascii && decoded[5] == ascii;
}

bool keeps_ascii_around(Converter& decoder, const Byte_Probe& probe) {
  for (int ascii = 0; ascii < 0x80; ++ascii) {
    if (probe.characters[ascii] != ascii) return false;
    for (unsigned lead = 0x80; lead < 0x100; ++lead) {
      if (!keeps_behind(decoder, static_cast<char>(lead), static_cast<char>(ascii))) return false;
    }
  }
  return true;
}

const Code_Page& settle_environment_code_page() {
  char codeset[codeset_room];
  locale_codeset(codeset);
  return code_page_of(codeset);
}

}  // namespace

const Code_Page& utf8_code_page() {
  static const Utf8_Page page;
  return page;
}

const Code_Page& code_page_of(const char* codeset) {
  if (is_utf8_name(codeset)) return utf8_code_page();
  Converter decoder(wide_codeset, codeset);
  Converter encoder(codeset, wide_codeset);
  if (!decoder.is_open() || !encoder.is_open()) return utf8_code_page();
  const Byte_Probe probe = probe_bytes(decoder);
  // Text in which a zero byte is no terminator is no text of this interface.
  if (probe.characters[0] != L'\0') return utf8_code_page();
  if (probe.single_byte) return *new Single_Byte_Page(probe.characters);
  return *new Multi_Byte_Page(codeset, keeps_ascii_around(decoder, probe));
}

const Code_Page& environment_code_page() {
  static const Code_Page& page = settle_environment_code_page();
  return page;
}

}  // namespace kelvane
