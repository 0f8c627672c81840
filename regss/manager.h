// What the service manager is told, where there is one (NOTIFY_SOCKET); the watchdog is the server's own. Any thread
// may tell it.
#pragma once

#include <string>

namespace regss {

void tell_manager_ready(const std::string& status);
void tell_manager_reloading();
void tell_manager_stopping();
void tell_manager_failed(const std::string& reason);

}  // namespace regss
