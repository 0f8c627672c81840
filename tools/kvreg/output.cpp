#include "tools/kvreg/output.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "tools/kvreg/failure.h"

namespace kvreg {
namespace {

constexpr std::size_t block_size = 256 * 1024;

std::string& gathered() {
  static std::string text;
  return text;
}

void write_all(std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(STDOUT_FILENO, text.data(), text.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0 && errno == EPIPE) throw Closed_Output{};
    if (written < 0) throw Complaint(std::string("standard output: ") + std::strerror(errno));
    text.remove_prefix(static_cast<std::size_t>(written));
  }
}

}  // namespace

void put(std::string_view text) {
  gathered() += text;
  if (gathered().size() >= block_size) flush_output();
}

void put_line(std::string_view line) {
  put(line);
  put("\n");
}

void flush_output() {
  const std::string text = std::move(gathered());
  gathered().clear();
  write_all(text);
}

}  // namespace kvreg
