// Stands in the place of the library that the start object starts, and says when it is started.
#include <unistd.h>
#include <windef.h>

extern "C" KV_EXPORT void init_advapi32() {
  static const char text[] = "started\n";
  [[maybe_unused]] ssize_t written = write(STDOUT_FILENO, text, sizeof text - 1);
}
