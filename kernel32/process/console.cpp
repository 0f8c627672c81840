// KvConsoleMessage: the text is made first and handed to the system as a whole, so that the messages of several
// threads and processes do not mix.
#include <errno.h>
#include <kelvane/process.h>
#include <poll.h>
#include <stdarg.h>
#include <stdio.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <new>

namespace {

constexpr size_t short_message = 1024;

// Waits for a console that takes nothing at the moment; false when it is gone.
bool may_write_again() {
  if (errno == EINTR) return true;
  pollfd console = {STDERR_FILENO, POLLOUT, 0};
  return errno == EAGAIN && poll(&console, 1, -1) >= 0;
}

void write_whole(const char* text, size_t size) {
  while (size > 0) {
    ssize_t written = write(STDERR_FILENO, text, size);
    if (written < 0) {
      if (!may_write_again()) return;
      continue;
    }
    text += written;
    size -= static_cast<size_t>(written);
  }
}

}  // namespace

void KvConsoleMessage(const char* format, ...) {
  char inline_text[short_message];
  va_list arguments;
  va_list again;
  va_start(arguments, format);
  va_copy(again, arguments);
  int length = std::max(vsnprintf(inline_text, sizeof inline_text, format, arguments), 0);
  size_t size = static_cast<size_t>(length);
  std::unique_ptr<char[]> long_text(size < sizeof inline_text ? nullptr : new (std::nothrow) char[size + 1]);
  if (long_text != nullptr) vsnprintf(long_text.get(), size + 1, format, again);
  va_end(again);
  va_end(arguments);
  if (long_text != nullptr) {
    write_whole(long_text.get(), size);
  } else {
    write_whole(inline_text, std::min(size, sizeof inline_text - 1));
  }
}
