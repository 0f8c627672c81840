// kvistream, and the stream over a text.
#include <kelvane/stream.h>
#include <string.h>

#include <algorithm>

#include "kernel32/object/zeroed_block.h"

kvistream::kvistream() : at_end_(false), failed_(false) {}

kvistream::~kvistream() = default;

void* kvistream::operator new(size_t size) { return new_zeroed_block(size); }

void kvistream::operator delete(void* block) { free_block(block); }

size_t kvistream::read(char* block, size_t size) {
  size_t came = 0;
  while (came < size && !at_end_ && !failed_) {
    ssize_t piece = get(block + came, size - came);
    if (piece < 0) failed_ = true;
    if (piece <= 0) break;
    came += static_cast<size_t>(piece);
  }
  if (came < size) at_end_ = true;
  return came;
}

kvistrstream::kvistrstream(const char* text) : kvistrstream(text, strlen(text)) {}

kvistrstream::kvistrstream(const char* bytes, size_t size) : rest_(bytes), rest_size_(size) {}

kvistrstream::~kvistrstream() = default;

ssize_t kvistrstream::get(char* block, size_t size) {
  size_t piece = std::min(size, rest_size_);
  memcpy(block, rest_, piece);
  rest_ += piece;
  rest_size_ -= piece;
  return static_cast<ssize_t>(piece);
}
