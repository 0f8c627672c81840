// Buffers between unreadable pages, and bytes written out as they lie in memory.
#ifndef KELVANE_TESTS_SECURITY_GUARDED_H
#define KELVANE_TESTS_SECURITY_GUARDED_H

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

namespace kvtest {

// The bytes of "01 02 ff"; blanks are free, and "00*12" is twelve times that byte.
inline std::string bytes(const std::string& hex) {
  std::string out;
  for (std::size_t at = 0; at < hex.size();) {
    if (hex[at] == ' ') {
      ++at;
      continue;
    }
    const char byte = static_cast<char>(std::stoi(hex.substr(at, 2), nullptr, 16));
    at += 2;
    std::size_t times = 1;
    if (at < hex.size() && hex[at] == '*') {
      std::size_t digits = 0;
      times = std::stoul(hex.substr(at + 1), &digits);
      at += 1 + digits;
    }
    out.append(times, byte);
  }
  return out;
}

inline std::string hex(const std::string& bytes) {
  std::string out;
  for (const char byte : bytes) {
    char text[4];
    snprintf(text, sizeof text, "%02x ", static_cast<unsigned char>(byte));
    out += text;
  }
  return out;
}

// Up to size bytes that end just before an unreadable page, or begin just behind one.
class Guarded {
 public:
  enum Side { at_end, at_start };

  explicit Guarded(const std::string& content, Side side = at_end) : size_(content.size()) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t room = (size_ + page - 1) / page * page + (size_ == 0 ? page : 0);
    mapped_ = room + 2 * page;
    void* const pages = mmap(nullptr, mapped_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages == MAP_FAILED) throw std::runtime_error("mmap");
    pages_ = static_cast<char*>(pages);
    mprotect(pages_ + page, room, PROT_READ | PROT_WRITE);
    start_ = side == at_end ? pages_ + page + room - size_ : pages_ + page;
    std::memcpy(start_, content.data(), size_);
  }
  ~Guarded() { munmap(pages_, mapped_); }
  Guarded(const Guarded&) = delete;
  Guarded& operator=(const Guarded&) = delete;

  template <class T>
  T* as(std::size_t offset = 0) {
    return reinterpret_cast<T*>(start_ + offset);
  }
  operator void*() { return start_; }
  std::string content() const { return std::string(start_, size_); }
  std::size_t size() const { return size_; }

 private:
  std::size_t size_;
  std::size_t mapped_;
  char* pages_;
  char* start_;
};

// A failure shows both as hexadecimal text.
#define EXPECT_BYTES(actual, expected) EXPECT_EQ(::kvtest::hex(actual), ::kvtest::hex(::kvtest::bytes(expected)))

}  // namespace kvtest

#endif
