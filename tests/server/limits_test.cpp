// What a client cannot do to others: messages that are none, too long or too many, and all that it holds.
#include <winerror.h>

#include "impl/wire/sealed_memory.h"
#include "tests/server/served.h"

namespace {

using namespace servertest;

const wire::Number machine = number(HKEY_LOCAL_MACHINE);

std::string greeting_bytes() { return {"\0AUTH EXTERNAL\r\nDATA\r\nNEGOTIATE_UNIX_FD\r\nBEGIN\r\n", 48}; }

void send_bytes(const wire::Unique_Fd& to, std::string_view data) {
  ASSERT_EQ(::send(to.get(), data.data(), data.size(), MSG_NOSIGNAL), static_cast<ssize_t>(data.size()));
}

// Reads until the server has closed the connection; what it said.
std::string all_said(const wire::Unique_Fd& from) {
  std::string said;
  char block[4096];
  for (;;) {
    const ssize_t size = recv(from.get(), block, sizeof block, 0);
    if (size <= 0) return said;
    said.append(block, static_cast<std::size_t>(size));
  }
}

// Waits for the answer to the greeting.
void greet(const wire::Unique_Fd& with) {
  send_bytes(with, greeting_bytes());
  std::string said;
  char block[512];
  while (said.find("AGREE_UNIX_FD") == said.npos) {
    const ssize_t size = recv(with.get(), block, sizeof block, 0);
    ASSERT_GT(size, 0);
    said.append(block, static_cast<std::size_t>(size));
  }
}

// The first 16 bytes of a message with a body of this size.
std::string header_of(std::uint32_t body_size) {
  std::string header = {'l', 1, 0, 1};
  for (const std::uint32_t field : {body_size, std::uint32_t{1}, std::uint32_t{16}}) {
    header.append(reinterpret_cast<const char*>(&field), sizeof field);
  }
  return header;
}

class Limits : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(neighbour.begin()->code, 0u); }
  // Whatever happened, others are served.
  void TearDown() override { EXPECT_EQ(open(neighbour, machine, u"")->code, 0u); }

  Served served;
  Client neighbour{served.address()};
};

TEST_F(Limits, AQuestionWithOtherFieldsIsMalformedAndTheNextIsAnswered) {
  Client client(served.address());
  client.begin();
  sd_bus_error error{};
  EXPECT_LT(sd_bus_call_method(client.bus(), nullptr, wire::object_path, wire::interface_name, "OpenKey", &error,
                               nullptr, "s", "text"),
            0);
  EXPECT_STREQ(error.name, "com.kelvane.Error.Malformed");
  sd_bus_error_free(&error);
  EXPECT_LT(sd_bus_call_method(client.bus(), nullptr, wire::object_path, wire::interface_name, "OpenKey", &error,
                               nullptr, nullptr),
            0);
  EXPECT_STREQ(error.name, "com.kelvane.Error.Malformed");
  sd_bus_error_free(&error);
  EXPECT_EQ(open(client, machine, u"")->code, 0u);
}

TEST_F(Limits, MoreThanOneMemoryFileIsMalformed) {
  Client client(served.address());
  client.begin();
  const wire::Unique_Fd file = wire::seal(bytes("x"));
  sd_bus_error error{};
  EXPECT_LT(sd_bus_call_method(client.bus(), nullptr, wire::object_path, wire::interface_name, "SetValue", &error,
                               nullptr, "uayuayah", 0x80000002u, 0, 3u, 0, 2, file.get(), file.get()),
            0);
  EXPECT_STREQ(error.name, "com.kelvane.Error.Malformed");
  sd_bus_error_free(&error);
}

TEST_F(Limits, GarbageInsteadOfAGreetingEndsTheConnection) {
  const wire::Unique_Fd socket = connect_to(served.address());
  send_bytes(socket, std::string(100, 'x') + "\r\n");
  EXPECT_EQ(all_said(socket).find("OK"), std::string::npos);
}

TEST_F(Limits, GarbageInsteadOfAMessageEndsTheConnection) {
  const wire::Unique_Fd socket = connect_to(served.address());
  greet(socket);
  send_bytes(socket, std::string(64, 'x'));
  EXPECT_EQ(all_said(socket), "");
}

TEST_F(Limits, AMessageThatIsTooLongIsNotTaken) {
  const wire::Unique_Fd socket = connect_to(served.address());
  greet(socket);
  send_bytes(socket, header_of(5 << 20));
  EXPECT_EQ(all_said(socket), "");
}

TEST_F(Limits, AMessageThatIsCutOffIsNothing) {
  for (const std::size_t size : {1u, 15u, 16u, 31u}) {
    const wire::Unique_Fd socket = connect_to(served.address());
    greet(socket);
    send_bytes(socket, (header_of(100) + std::string(100, '\0')).substr(0, size));
  }
}

TEST_F(Limits, AConnectionThatIsClosedWithinAMessageIsGone) {
  for (const std::size_t size : {1u, 15u, 16u, 31u}) {
    {
      Client client(served.address());
      ASSERT_EQ(client.begin()->code, 0u);
      const std::string cut = (header_of(100) + std::string(100, '\0')).substr(0, size);
      ASSERT_EQ(send(sd_bus_get_fd(client.bus()), cut.data(), size, MSG_NOSIGNAL), static_cast<ssize_t>(size));
    }
    while (neighbour.ask<wire::List_Connected>({})->clients.size() > 1) std::this_thread::yield();
  }
}

// One field of a message's head: its code, the signature of one type, and a text.
void add_field(std::string& fields, char code, char type, std::string_view value) {
  fields.resize((fields.size() + 7) / 8 * 8);
  const auto size = static_cast<std::uint32_t>(value.size());
  fields.append({code, 1, type, 0});
  fields.append(reinterpret_cast<const char*>(&size), sizeof size).append(value).push_back('\0');
}

// A call of Ping by hand.
std::string ping() {
  std::string fields;
  add_field(fields, 1, 'o', "/");
  add_field(fields, 2, 's', "org.freedesktop.DBus.Peer");
  add_field(fields, 3, 's', "Ping");
  std::string message = header_of(0).substr(0, 12);
  const auto size = static_cast<std::uint32_t>(fields.size());
  message.append(reinterpret_cast<const char*>(&size), sizeof size).append(fields);
  message.resize((message.size() + 7) / 8 * 8);
  return message;
}

// Reads until there is an answer of type 2, a method's return.
bool is_answered(const wire::Unique_Fd& socket) {
  char answer[2] = {};
  return recv(socket.get(), answer, sizeof answer, MSG_PEEK | MSG_WAITALL) == sizeof answer && answer[1] == 2;
}

TEST_F(Limits, AMessageInPiecesIsTakenWhole) {
  const std::string message = ping();
  for (const std::size_t size : {1u, 8u, 15u, 16u, 17u, 40u}) {
    const wire::Unique_Fd socket = connect_to(served.address());
    greet(socket);
    send_bytes(socket, message.substr(0, size));
    ASSERT_EQ(open(neighbour, machine, u"")->code, 0u);  // by now the piece was looked at
    send_bytes(socket, message.substr(size));
    EXPECT_TRUE(is_answered(socket)) << size;
  }
}

TEST_F(Limits, AMessageBehindTheGreetingIsTaken) {
  const wire::Unique_Fd socket = connect_to(served.address());
  send_bytes(socket, greeting_bytes() + ping());
  char said[512];
  const std::string greeted = "AGREE_UNIX_FD\r\n";
  std::string all;
  while (all.find(greeted) == all.npos || all.size() < all.find(greeted) + greeted.size() + 2) {
    const ssize_t got = recv(socket.get(), said, sizeof said, 0);
    ASSERT_GT(got, 0);
    all.append(said, static_cast<std::size_t>(got));
  }
  EXPECT_EQ(all[all.find(greeted) + greeted.size() + 1], 2);
}

TEST_F(Limits, AClientThatStopsReadingIsServedWhenItReadsAgain) {
  constexpr int questions = 100;
  Client client(served.address());
  client.begin();
  const auto made = create(client, machine, u"Large");
  ASSERT_EQ(set(client, made->handle, u"v", std::string(500'000, 'a')), 0u);
  for (int i = 0; i < questions; ++i) {
    client.send<wire::Query_Value>({.key = made->handle, .name = text(u"v"), .room = 1 << 20});
  }
  for (int i = 0; i < 50; ++i) ASSERT_EQ(open(neighbour, machine, u"Large")->code, 0u);
  for (int i = 0; i < questions; ++i) {
    ASSERT_EQ(client.receive_answer<wire::Query_Value>()->data.size(), 500'000u) << i;
  }
}

TEST_F(Limits, CallsUnderWayAreLimitedForEachConnection) {
  Client client(served.address());
  client.begin();
  for (std::size_t i = 0; i < wire::max_calls_under_way; ++i) client.send<wire::Await_Notification>({});
  EXPECT_EQ(client.ask<wire::Await_Notification>({}).error, "com.kelvane.Error.LimitExceeded");
}

TEST_F(Limits, HandlesAreLimitedForEachClient) {
  constexpr std::size_t at_once = 500;
  Client client(served.address());
  client.begin();
  for (std::size_t opened = 0; opened < wire::max_handles; opened += at_once) {
    for (std::size_t i = 0; i < at_once; ++i) client.send<wire::Open_Key>({.key = machine, .access = KEY_READ});
    for (std::size_t i = 0; i < at_once; ++i) ASSERT_EQ(client.receive_answer<wire::Open_Key>()->code, 0u) << opened;
  }
  EXPECT_EQ(open(client, machine, u"").error, "com.kelvane.Error.LimitExceeded");
  EXPECT_EQ(create(client, machine, u"New").error, "com.kelvane.Error.LimitExceeded");
  EXPECT_EQ(open(neighbour, machine, u"New")->code, 2u);
  EXPECT_EQ(client.ask<wire::Query_Info>({.key = machine})->code, 0u);
}

// Asks until only the neighbour is left, as the server notices the end of others in its own time.
void wait_until_alone(Client& client) {
  while (client.ask<wire::List_Connected>({})->clients.size() > 1) {
  }
}

TEST_F(Limits, AClientThatIsKilledLeavesNothing) {
  create(neighbour, machine, u"Watched");
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const pid_t child = fork();
  if (child == 0) {
    Client client(served.address());
    client.begin();
    for (int i = 0; i < 20; ++i) {
      const auto key = open(client, machine, u"Watched");
      client.send<wire::Watch_Key>({.key = key->handle, .subtree = 1, .filter = REG_NOTIFY_CHANGE_LAST_SET});
    }
    const bool served_still = open(client, machine, u"Watched")->code == 0;  // so the watches have come
    if (write(ends[1], served_still ? "y" : "n", 1) == 1) pause();
    _exit(0);
  }
  char done = 0;
  ASSERT_EQ(read(ends[0], &done, 1), 1);
  EXPECT_EQ(done, 'y');
  EXPECT_EQ(neighbour.ask<wire::List_Connected>({})->clients.size(), 2u);
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  wait_until_alone(neighbour);
  EXPECT_EQ(set(neighbour, open(neighbour, machine, u"Watched", KEY_WRITE)->handle, u"v", "x"), 0u);
  close(ends[0]);
  close(ends[1]);
}

}  // namespace
