// What common D-Bus tools see, and that the description of the protocol is of this one.
#include <unistd.h>

#include <fstream>
#include <sstream>

#include "impl/server/dispatch.h"
#include "impl/server/standard_calls.h"
#include "tests/server/served.h"

namespace {

using namespace servertest;

std::string call(Client& client, const char* path, const char* interface, const char* member) {
  sd_bus_error error{};
  sd_bus_message* reply = nullptr;
  std::string result;
  if (sd_bus_call_method(client.bus(), nullptr, path, interface, member, &error, &reply, nullptr) < 0) {
    result = error.name;
  } else if (const char* said = nullptr; sd_bus_message_read(reply, "s", &said) > 0) {
    result = said;
  }
  sd_bus_error_free(&error);
  sd_bus_message_unref(reply);
  return result;
}

TEST(Standard_Calls, AreAnsweredWithoutASession) {
  Served served;
  Client client(served.address());
  EXPECT_EQ(call(client, "/org/freedesktop/DBus", "org.freedesktop.DBus", "Hello"), ":1.1");
  EXPECT_EQ(call(client, "/", "org.freedesktop.DBus.Peer", "Ping"), "");
  EXPECT_NE(call(client, "/", "org.freedesktop.DBus.Introspectable", "Introspect").find("<node name=\"com\"/>"),
            std::string::npos);
  const std::string xml = call(client, "/com/kelvane/Registry", "org.freedesktop.DBus.Introspectable", "Introspect");
  EXPECT_NE(xml.find("<method name=\"CloseKey\">\n   <arg type=\"u\" direction=\"in\"/>\n"
                     "   <arg type=\"u\" direction=\"out\"/>\n  </method>"),
            std::string::npos);
  EXPECT_NE(xml.find("<arg type=\"a(ayayt)\" direction=\"out\"/>"), std::string::npos);
}

TEST(Standard_Calls, ThatDoNotExistAreTold) {
  Served served;
  Client client(served.address());
  EXPECT_EQ(call(client, "/com/kelvane/Registry", "com.kelvane.Registry1", "Nothing").substr(0, 34),
            "org.freedesktop.DBus.Error.Unknown");
  EXPECT_EQ(call(client, "/nowhere", "org.freedesktop.DBus.Introspectable", "Introspect").substr(0, 34),
            "org.freedesktop.DBus.Error.Unknown");
}

TEST(Standard_Calls, LetBusctlLookAndCall) {
  if (access("/usr/bin/busctl", X_OK) != 0) GTEST_SKIP() << "there is no busctl here";
  Served served;
  const std::string address = std::string("--address=unix:abstract=") + (served.address().name.sun_path + 1);
  const auto looked = kvtest::run_program(
      {"/usr/bin/busctl", address, "introspect", "com.kelvane.Registry", "/com/kelvane/Registry"}, {});
  EXPECT_EQ(looked.exit_status, 0) << looked.err;
  EXPECT_NE(looked.out.find(".OpenKey"), std::string::npos) << looked.out;
  const auto called =
      kvtest::run_program({"/usr/bin/busctl", address, "call", "com.kelvane.Registry", "/com/kelvane/Registry",
                           "com.kelvane.Registry1", "BeginSession", "uayuayay", "1", "0", "0", "0", "0"},
                          {});
  EXPECT_EQ(called.exit_status, 0) << called.err;
  EXPECT_EQ(called.out.substr(0, 11), "uayah 0 16 ") << called.out;
}

TEST(The_Description, NamesEachCallWithItsSignatures) {
  std::ostringstream text;
  text << std::ifstream(KV_SOURCE_FOLDER "/docs/protocol.md").rdbuf();
  ASSERT_FALSE(text.str().empty());
  std::size_t rows = 0;
  for (const auto& row : impl::server::rows()) {
    const std::string question = *row.question == '\0' ? "" : std::string("`") + row.question + "` ";
    const std::string line = std::string("| `") + row.member + "` | " + question + "| `" + row.answer + "` |";
    EXPECT_NE(text.str().find(line), std::string::npos) << line;
    ++rows;
  }
  EXPECT_EQ(rows, 37u);
}

}  // namespace
