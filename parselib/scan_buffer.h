// The part of a stream that the scanner looks at: the token that it is at and what was read ahead.
//
// The stream is read in blocks of up to 8,192 bytes, each only when the scanner needs one more byte. The buffer
// starts with 16,384 bytes and doubles when a token fills it. When memory is short the process ends.
#pragma once

#include <kelvane/stream.h>

#include <cstddef>

inline namespace kelvane {

class Scan_Buffer {
 public:
  Scan_Buffer(kvistream& in, const char* prefix);
  ~Scan_Buffer();
  Scan_Buffer(const Scan_Buffer&) = delete;
  Scan_Buffer& operator=(const Scan_Buffer&) = delete;

  // Begins a token where the last one ended.
  void begin_token() { token_ += length_, length_ = 0; }

  // The token so far.
  char* token() { return token_; }
  std::size_t length() const { return length_; }
  void set_length(std::size_t length) { length_ = length; }

  // Makes sure that a byte stands behind the token; false at the end of the input.
  bool has_next() { return token_ + length_ != end_ || read_more(); }
  unsigned char next() const { return static_cast<unsigned char>(token_[length_]); }

  // The bytes from here to the end of what was read. A zero byte stands behind them.
  char* at() { return token_ + length_; }
  char* end() { return end_; }
  void advance_to(const char* position) { length_ = static_cast<std::size_t>(position - token_); }

 private:
  bool read_more();
  void grow();

  kvistream& in_;
  std::size_t size_;  // without the zero byte's place
  char* bytes_;
  char* token_;
  char* end_;
  std::size_t length_ = 0;
};

// One line on standard error and the end of the process, with status 2.
[[noreturn]] void end_for_scanner_fault(const char* message);
// The same with the message "out of dynamic memory in <prefix>_<operation>()".
[[noreturn]] void end_without_memory(const char* prefix, const char* operation);

}  // namespace kelvane
