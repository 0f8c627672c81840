#include "parselib/scan_buffer.h"

#include <kelvane/process.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

inline namespace kelvane {
namespace {

constexpr std::size_t first_size = 16384;
constexpr std::size_t block_size = 8192;

}  // namespace

Scan_Buffer::Scan_Buffer(kvistream& in, const char* prefix)
    : in_(in), size_(first_size), bytes_(static_cast<char*>(std::malloc(first_size + 1))) {
  if (bytes_ == nullptr) end_without_memory(prefix, "create_buffer");
  token_ = end_ = bytes_;
  *end_ = '\0';
}

Scan_Buffer::~Scan_Buffer() { std::free(bytes_); }

// The token moves to the begin of the buffer first, so that a block fits behind it. One byte stays free: a token
// of 8,192 bytes is followed by a block of 8,191.
bool Scan_Buffer::read_more() {
  const std::size_t kept = static_cast<std::size_t>(end_ - token_);
  if (token_ != bytes_) std::memmove(bytes_, token_, kept);
  token_ = bytes_;
  end_ = bytes_ + kept;
  if (size_ - kept <= 1) grow();
  const std::size_t came = in_.read(end_, std::min(size_ - kept - 1, block_size));
  end_ += came;
  *end_ = '\0';
  return came > 0;
}

void Scan_Buffer::grow() {
  const std::size_t kept = static_cast<std::size_t>(end_ - bytes_);
  char* larger = static_cast<char*>(std::realloc(bytes_, 2 * size_ + 1));
  if (larger == nullptr) end_for_scanner_fault("fatal error - scanner input buffer overflow");
  bytes_ = token_ = larger;
  end_ = bytes_ + kept;
  size_ *= 2;
}

void end_for_scanner_fault(const char* message) {
  constexpr int fault_status = 2;
  std::fprintf(stderr, "%s\n", message);
  KvExit(fault_status);
  std::abort();
}

void end_without_memory(const char* prefix, const char* operation) {
  char message[80];
  std::snprintf(message, sizeof message, "out of dynamic memory in %s_%s()", prefix, operation);
  end_for_scanner_fault(message);
}

}  // namespace kelvane
