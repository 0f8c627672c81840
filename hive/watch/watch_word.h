// A number that processes share: who waits for a change sleeps on it, who has made one raises it and wakes them. It is
// a hint: who sleeps looks again after a while in any case.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

namespace hive {

class Watch_Word {
 public:
  // Of this process alone.
  Watch_Word() = default;
  // In a file of at least this class's file_size, shared with every process that maps it; !is_good() when it cannot be
  // mapped. The descriptor may be closed afterwards.
  explicit Watch_Word(int fd);
  ~Watch_Word();
  Watch_Word(const Watch_Word&) = delete;
  Watch_Word& operator=(const Watch_Word&) = delete;

  static constexpr std::size_t file_size = sizeof(std::uint32_t);

  bool is_good() const { return word_ != nullptr; }
  std::uint32_t value() const { return word_->load(); }
  // Raises it and wakes everybody.
  void ring();
  // Until it is no longer what was seen, or the time is over, or for no reason.
  void sleep(std::uint32_t seen, std::chrono::milliseconds longest);

 private:
  std::atomic<std::uint32_t> own_{0};
  std::atomic<std::uint32_t>* word_ = &own_;
};

}  // namespace hive
