#include "regss/manager.h"

#include <systemd/sd-daemon.h>
#include <time.h>

namespace regss {

void tell_manager_ready(const std::string& status) { sd_notify(0, ("READY=1\nSTATUS=" + status).c_str()); }

void tell_manager_reloading() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  constexpr long long microseconds = 1'000'000, nanoseconds_each = 1000;
  const long long since_start = now.tv_sec * microseconds + now.tv_nsec / nanoseconds_each;
  sd_notify(0, ("RELOADING=1\nMONOTONIC_USEC=" + std::to_string(since_start)).c_str());
}

void tell_manager_stopping() { sd_notify(0, "STOPPING=1\nSTATUS=Ends"); }

void tell_manager_failed(const std::string& reason) { sd_notify(0, ("STATUS=" + reason).c_str()); }

}  // namespace regss
