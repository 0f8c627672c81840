// The conversion loops around iconv. It stops at each character that it cannot convert, and these loops write
// what stands for it.
#include "kernel32/text/converter.h"

#include <cerrno>

#include "kernel32/text/raw_byte.h"

inline namespace kelvane {
namespace {

// Tag characters, which iconv leaves out without a word where a codeset has none.
bool is_tag(wchar_t character) { return character >= 0xE0000 && character <= 0xE007F; }

// Wide characters on their way into a codeset; each function is false when the room is used up.
class Encoding {
 public:
  Encoding(Converter& converter, char* out, size_t room) : converter_(converter), out_(out), end_(out + room) {}

  bool put(const wchar_t* text, const wchar_t* text_end) {
    const char* in = reinterpret_cast<const char*>(text);
    const char* const in_end = reinterpret_cast<const char*>(text_end);
    for (;;) {
      const Converter::Result result = converter_.convert(in, in_end, out_, end_);
      if (result != Converter::Result::stopped) return result == Converter::Result::done;
      if (!put_question_mark()) return false;
      in += sizeof(wchar_t);
    }
  }

  bool put_tag(const wchar_t* tag) {
    const char* before = out_;
    if (!put(tag, tag + 1)) return false;
    return out_ != before || put_question_mark();
  }

  bool put_byte(wchar_t raw) {
    if (out_ == end_) return false;
    *out_++ = static_cast<char>(raw & 0xFF);
    return true;
  }

  char* position() const { return out_; }

 private:
  bool put_question_mark() {
    const wchar_t mark = L'?';
    const char* in = reinterpret_cast<const char*>(&mark);
    return converter_.convert(in, in + sizeof mark, out_, end_) == Converter::Result::done;
  }

  Converter& converter_;
  char* out_;
  char* end_;
};

}  // namespace

Converter::~Converter() {
  if (is_open()) iconv_close(descriptor_);
}

Converter::Result Converter::flush(char*& out, char* out_end) {
  auto room = static_cast<size_t>(out_end - out);
  return iconv(descriptor_, nullptr, nullptr, &out, &room) == does_not_fit ? Result::no_room : Result::done;
}

Converter::Result Converter::convert(const char*& in, const char* in_end, char*& out, char* out_end) {
  char* from = const_cast<char*>(in);
  auto size = static_cast<size_t>(in_end - in);
  auto room = static_cast<size_t>(out_end - out);
  const size_t converted = iconv(descriptor_, &from, &size, &out, &room);
  const int error = errno;
  in = from;
  inside_sequence_ = converted == does_not_fit && error == EINVAL;
  if (converted == does_not_fit && error == E2BIG) return Result::no_room;
  const Result flushed = flush(out, out_end);
  return converted == does_not_fit && flushed == Result::done ? Result::stopped : flushed;
}

size_t decode_through(Converter& converter, const char* text, size_t size, wchar_t* out, size_t room) {
  const char* const end = text + size;
  char* to = reinterpret_cast<char*>(out);
  char* const to_end = reinterpret_cast<char*>(out + room);
  for (;;) {
    const Converter::Result result = converter.convert(text, end, to, to_end);
    wchar_t* const position = reinterpret_cast<wchar_t*>(to);
    if (result == Converter::Result::done) return static_cast<size_t>(position - out);
    if (result == Converter::Result::no_room || to == to_end) return does_not_fit;
    *position = raw_byte(static_cast<unsigned char>(*text++));
    to += sizeof(wchar_t);
  }
}

size_t encode_through(Converter& converter, bool keeps_ascii, const wchar_t* text, size_t length, char* out,
                      size_t room) {
  const wchar_t* const end = text + length;
  Encoding encoding(converter, out, room);
  bool fits = true;
  while (fits && text != end) {
    const wchar_t* run_end = text;
    while (run_end != end && !is_raw_byte(*run_end, keeps_ascii) && !is_tag(*run_end)) ++run_end;
    if (run_end != text) {
      fits = encoding.put(text, run_end);
      text = run_end;
    } else {
      fits = is_tag(*text) ? encoding.put_tag(text) : encoding.put_byte(*text);
      ++text;
    }
  }
  return fits ? static_cast<size_t>(encoding.position() - out) : does_not_fit;
}

}  // namespace kelvane
