// Stands before the system's library in each program of the preset "coverage": a process that ends at once, by _exit or
// quick_exit, writes its counters first, as one that ends by exit does. What a signal ends is not counted.
#include <dlfcn.h>
#include <signal.h>
#include <sys/resource.h>

#include <atomic>
#include <cstdlib>

namespace {

constexpr int most_parts = 128;
std::atomic<int> part_count = 0;
void (*parts[most_parts])();

// The counters' files are not what a test's full disk or limit is about.
void lift_limit(__rlimit_resource resource) {
  rlimit limit;
  getrlimit(resource, &limit);
  limit.rlim_cur = limit.rlim_max;
  setrlimit(resource, &limit);
}

void write_counters() {
  signal(SIGXFSZ, SIG_IGN);
  lift_limit(RLIMIT_FSIZE);
  lift_limit(RLIMIT_NOFILE);
  lift_limit(RLIMIT_AS);
  for (int number = 0; number < part_count; number++) parts[number]();
}

[[noreturn]] void end_by(const char* name, int status) {
  write_counters();
  const auto end = reinterpret_cast<void (*)(int)>(dlsym(RTLD_NEXT, name));
  end(status);
  abort();
}

}  // namespace

extern "C" {

void kv_coverage_add(void (*write_counters)()) {
  const int number = part_count++;
  if (number >= most_parts) abort();
  parts[number] = write_counters;
}

[[noreturn]] void _exit(int status) { end_by("_exit", status); }
[[noreturn]] void _Exit(int status) noexcept { end_by("_Exit", status); }
[[noreturn]] void quick_exit(int status) noexcept { end_by("quick_exit", status); }
}
