// kvostream: the buffer and what is written into it.
#include <kelvane/bone.h>
#include <kelvane/stream.h>
#include <string.h>

#include <algorithm>
#include <charconv>

#include "kernel32/object/zeroed_block.h"
#include "kernel32/stream/decimal.h"

namespace {

template <class Whole_Number>
kvostream& write_digits(kvostream& stream, Whole_Number number) {
  char digits[16];
  char* end = std::to_chars(digits, digits + sizeof digits, number).ptr;
  return stream.write(digits, static_cast<size_t>(end - digits));
}

}  // namespace

const char kelvane::null_marker[] = "/\\/ | \\__";

kvostream::kvostream() : used_(0), failed_(false) {}

kvostream::~kvostream() = default;

void* kvostream::operator new(size_t size) { return new_zeroed_block(size); }

void kvostream::operator delete(void* block) { free_block(block); }

kvostream& kvostream::write(const char* bytes, size_t size) {
  while (size > 0 && !failed_) {
    size_t piece = std::min(size, sizeof buffer_ - used_);
    memcpy(buffer_ + used_, bytes, piece);
    used_ += piece;
    bytes += piece;
    size -= piece;
    if (used_ == sizeof buffer_) flush();
  }
  return *this;
}

kvostream& kvostream::flush() {
  if (!failed_ && used_ > 0 && !put(buffer_, used_)) failed_ = true;
  used_ = 0;
  return *this;
}

kvostream& kvostream::operator<<(const char* text) { return text != nullptr ? write(text, strlen(text)) : *this; }

kvostream& kvostream::operator<<(char character) { return write(&character, 1); }

kvostream& kvostream::operator<<(int number) { return write_digits(*this, number); }

kvostream& kvostream::operator<<(unsigned number) { return write_digits(*this, number); }

kvostream& kvostream::operator<<(double number) {
  std::string text = decimal_text(number);
  return write(text.data(), text.size());
}

kvostream& kvostream::operator<<(const Bone* bone) {
  if (bone == nullptr) return *this << null_marker;
  bone->write(*this);
  return *this;
}

kvostream& kelvane::kvflush(kvostream& stream) { return stream.flush(); }

kvostream& kelvane::kvendl(kvostream& stream) { return (stream << '\n').flush(); }
