// Hello makes a client believe that it speaks to a bus, where it has a name. Introspect is made from the list of calls.
#include "impl/server/standard_calls.h"

#include <cstring>
#include <string_view>

#include "impl/server/connection.h"
#include "impl/server/dispatch.h"
#include "impl/wire/names.h"

namespace impl::server {
namespace {

constexpr const char* client_name = ":1.1";
constexpr std::string_view head =
    "<!DOCTYPE node PUBLIC \"-//freedesktop//DTD D-BUS Object Introspection 1.0//EN\"\n"
    "\"http://www.freedesktop.org/standards/dbus/1.0/introspect.dtd\">\n<node>\n";
constexpr std::string_view standard_interfaces =
    " <interface name=\"org.freedesktop.DBus.Peer\">\n"
    "  <method name=\"Ping\"/>\n"
    "  <method name=\"GetMachineId\"><arg type=\"s\" name=\"machine_uuid\" direction=\"out\"/></method>\n"
    " </interface>\n"
    " <interface name=\"org.freedesktop.DBus.Introspectable\">\n"
    "  <method name=\"Introspect\"><arg name=\"data\" type=\"s\" direction=\"out\"/></method>\n"
    " </interface>\n";

// One argument for each complete type of a signature.
void add_arguments(std::string_view signature, const char* direction, std::string& xml) {
  while (!signature.empty()) {
    std::size_t size = 0;
    while (signature[size] == 'a') ++size;
    int depth = 0;
    do {
      depth += signature[size] == '(' ? 1 : signature[size] == ')' ? -1 : 0;
      ++size;
    } while (depth > 0);
    xml.append("   <arg type=\"").append(signature.substr(0, size)).append("\" direction=\"");
    xml.append(direction).append("\"/>\n");
    signature.remove_prefix(size);
  }
}

std::string interface_xml() {
  std::string xml = std::string(" <interface name=\"") + wire::interface_name + "\">\n";
  for (const Row& row : rows()) {
    xml.append("  <method name=\"").append(row.member).append("\">\n");
    add_arguments(row.question, "in", xml);
    add_arguments(row.answer, "out", xml);
    xml.append("  </method>\n");
  }
  return xml.append(" </interface>\n");
}

int introspect(sd_bus_message* message) {
  const std::string xml = introspection(sd_bus_message_get_path(message));
  return xml.empty() ? 0 : sd_bus_reply_method_return(message, "s", xml.c_str());
}

// There are none.
int all_properties(sd_bus_message* message) { return sd_bus_reply_method_return(message, "a{sv}", 0); }

}  // namespace

std::string introspection(const std::string& path) {
  const std::string object = wire::object_path;
  std::string xml(head);
  if (path == object) return xml.append(standard_interfaces).append(interface_xml()).append("</node>\n");
  const std::string below = path == "/" ? path : path + "/";
  if (object.compare(0, below.size(), below) != 0) return {};
  const std::string next = object.substr(below.size(), object.find('/', below.size()) - below.size());
  return xml.append(standard_interfaces).append(" <node name=\"").append(next).append("\"/>\n</node>\n");
}

int answer_standard_call(Connection& connection, sd_bus_message* message) {
  int result = 0;
  if (sd_bus_message_is_method_call(message, "org.freedesktop.DBus", "Hello") > 0) {
    result = sd_bus_reply_method_return(message, "s", client_name);
  } else if (sd_bus_message_is_method_call(message, "org.freedesktop.DBus.Introspectable", "Introspect") > 0) {
    result = introspect(message);
  } else if (sd_bus_message_is_method_call(message, "org.freedesktop.DBus.Properties", "GetAll") > 0) {
    result = all_properties(message);
  }
  if (result < 0) connection.end();
  return result != 0 ? 1 : 0;
}

}  // namespace impl::server
