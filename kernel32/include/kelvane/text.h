/*
 * Text temporaries between the code page and wide characters.
 *
 * The code page is the environment's (LC_ALL, LC_CTYPE, LANG, the first that is set), UTF-8 when none is
 * given or it is "C" or "POSIX"; it is settled at the first conversion. Exactly the given length is
 * converted, zero characters included, and nothing is ever lost: an undecodable byte b becomes the wide
 * character U+DC00 + b and goes back to the byte b; any other lone surrogate is carried in the three bytes
 * that UTF-8 would give it. A wide character that the code page cannot express becomes "?".
 *
 * Up to 2,048 characters are kept inside the object; longer text takes one block from the heap
 * (std::bad_alloc when there is none). The text is terminated, and the terminator is not counted. Objects
 * belong to one thread.
 */
#ifndef KELVANE_TEXT_H
#define KELVANE_TEXT_H

#include <windef.h>

KV_BEGIN_C

/* 1 when every byte below 0x80 of the code page is that ASCII character, whatever stands around it. */
KV_EXPORT int KvCodePageKeepsAscii(void);

KV_END_C

inline namespace kelvane {

/* The wide form of length bytes of multi-byte text. Null text gives null text and a length of 0. */
class KV_EXPORT KvUnicodeStringWithLength {
 public:
  KvUnicodeStringWithLength(const char* text, int length);
  ~KvUnicodeStringWithLength();
  KvUnicodeStringWithLength(const KvUnicodeStringWithLength&) = delete;
  KvUnicodeStringWithLength& operator=(const KvUnicodeStringWithLength&) = delete;

  const wchar_t* text() const { return text_; }
  int length() const { return length_; } /* wide characters */

 private:
  wchar_t* text_;
  int length_;
  alignas(16) wchar_t inline_[2048 + 1];
};

/* The multi-byte form of length wide characters. Null text gives null text and a size of 0. */
class KV_EXPORT KvAnsiStringWithLength {
 public:
  KvAnsiStringWithLength(const wchar_t* text, int length);
  ~KvAnsiStringWithLength();
  KvAnsiStringWithLength(const KvAnsiStringWithLength&) = delete;
  KvAnsiStringWithLength& operator=(const KvAnsiStringWithLength&) = delete;

  const char* text() const { return text_; }
  int size() const { return size_; } /* bytes */

 private:
  char* text_;
  int size_;
  alignas(16) char inline_[4 * 2048 + 1];
};

/* The same with a length of -1 for "up to the terminator"; converts to the text itself. */
class KV_EXPORT KvAnsiString {
 public:
  KvAnsiString(const wchar_t* text, int length);
  operator const char*() const { return converted_.text(); }

 private:
  KvAnsiStringWithLength converted_;
};

}  // namespace kelvane

#endif
