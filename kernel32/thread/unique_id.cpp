// Locally unique ids. The system numbers sockets from its start on and never uses a number twice; a socket that is
// made for its number gives an id. Where none can be made, an id is the process and the time slot of 64 microseconds
// that the process took for it alone; a bit that no socket's number reaches keeps the two kinds apart.
#include <kelvane/impersonation.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>
#include <winbase.h>

#include <atomic>

namespace {

constexpr uint64_t first_id = 0x10000;
constexpr uint64_t mark_of_time = uint64_t{1} << 62;
constexpr int process_bits = 22; /* the largest process number that the system gives */
constexpr uint64_t slot_nanoseconds = 64000;

// 0 when the system gives none.
uint64_t next_socket_number() {
  const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return 0;
  uint64_t number = 0;
  socklen_t size = sizeof number;
  if (getsockopt(fd, SOL_SOCKET, SO_COOKIE, &number, &size) != 0) number = 0;
  close(fd);
  return number;
}

uint64_t time_slot() {
  timespec now;
  clock_gettime(CLOCK_BOOTTIME, &now);
  return (static_cast<uint64_t>(now.tv_sec) * 1000000000u + static_cast<uint64_t>(now.tv_nsec)) / slot_nanoseconds;
}

// Waits for a slot that no call in this process has taken: the number of a process is used again only later.
uint64_t take_time_slot() {
  static std::atomic<uint64_t> last_slot;
  uint64_t last = last_slot.load();
  for (;;) {
    const uint64_t now = time_slot();
    if (now <= last) {
      last = last_slot.load();
    } else if (last_slot.compare_exchange_weak(last, now)) {
      return now;
    }
  }
}

uint64_t next_time_number() {
  return mark_of_time | take_time_slot() << process_bits | static_cast<uint64_t>(getpid());
}

}  // namespace

BOOL KvAllocateLocallyUniqueId(PLUID out_id) {
  if (out_id == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  const uint64_t number = next_socket_number();
  const uint64_t id = number != 0 ? number + first_id : next_time_number();
  out_id->LowPart = static_cast<DWORD>(id);
  out_id->HighPart = static_cast<LONG>(id >> 32);
  return TRUE;
}
