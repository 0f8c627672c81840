// Calls of D-Bus itself, by which common tools find out what the server has.
#pragma once

#include <systemd/sd-bus.h>

#include <string>

namespace impl::server {

class Connection;

// 1 when it was answered; 0: the library answers what it knows, or that there is no such thing.
int answer_standard_call(Connection& connection, sd_bus_message* message);

// What Introspect tells of a path; empty for one that leads nowhere.
std::string introspection(const std::string& path);

}  // namespace impl::server
