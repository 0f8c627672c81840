// Writes that were reported done are there, whatever becomes of the server.
#include <winerror.h>

#include <map>
#include <vector>

#include "tests/server/served.h"

namespace {

using namespace servertest;

const wire::Number machine = number(HKEY_LOCAL_MACHINE);

std::u16string name_of(unsigned number) {
  const std::string narrow = std::to_string(number);
  return {narrow.begin(), narrow.end()};
}

TEST(Writes, AreSeenByWhatIsAskedBehindThem) {
  constexpr unsigned count = 300;
  Served served;
  Client client(served.address());
  client.begin();
  const auto made = create(client, machine, u"Order");
  for (unsigned i = 0; i < count; ++i) {
    const std::u16string name = name_of(i);
    client.send<wire::Set_Value>({.key = made->handle, .name = text(name), .type = REG_BINARY, .data = bytes("x")});
    client.send<wire::Query_Value>({.key = made->handle, .name = text(name), .room = 10});
  }
  for (unsigned i = 0; i < count; ++i) {
    ASSERT_EQ(client.receive_answer<wire::Set_Value>()->code, 0u);
    ASSERT_EQ(string_of(client.receive_answer<wire::Query_Value>()->data), "x");
  }
  EXPECT_EQ(client.ask<wire::Query_Info>({.key = made->handle})->values, count);
}

TEST(Writes, ThatFailDoNotKeepOthersFromBeingDone) {
  Served served;
  Client client(served.address());
  client.begin();
  const auto made = create(client, machine, u"Some");
  const std::u16string too_long(20000, u'n');
  for (int i = 0; i < 20; ++i) {
    client.send<wire::Set_Value>({.key = made->handle, .name = text(u"good"), .data = bytes("x")});
    client.send<wire::Set_Value>({.key = made->handle, .name = text(too_long), .data = bytes("x")});
    client.send<wire::Delete_Value>({.key = made->handle, .name = text(u"never")});
    client.send<wire::Delete_Value>({.key = made->handle, .name = text(u"good")});
  }
  for (int i = 0; i < 20; ++i) {
    EXPECT_EQ(client.receive_answer<wire::Set_Value>()->code, 0u);
    EXPECT_EQ(client.receive_answer<wire::Set_Value>()->code, 87u);
    EXPECT_EQ(client.receive_answer<wire::Delete_Value>()->code, 2u);
    EXPECT_EQ(client.receive_answer<wire::Delete_Value>()->code, 0u);
  }
}

TEST(Writes, ThatMakeKeysTogetherGiveHandlesThatWork) {
  Served served;
  Client client(served.address());
  client.begin();
  for (unsigned i = 0; i < 50; ++i) {
    client.send<wire::Create_Key>({.key = machine, .path = text(u"Made\\" + name_of(i)), .access = KEY_ALL_ACCESS});
  }
  for (unsigned i = 0; i < 50; ++i) {
    const auto made = client.receive_answer<wire::Create_Key>();
    ASSERT_EQ(made->code, 0u);
    EXPECT_EQ(made->created, 1u);
    client.send<wire::Close_Key>({.key = made->handle});
  }
  for (unsigned i = 0; i < 50; ++i) EXPECT_EQ(client.receive_answer<wire::Close_Key>()->code, 0u);
}

// What a writing client reports: the value of this number is in the registry, as it was told.
struct Done {
  unsigned client;
  unsigned number;
};

// Writes until the server is gone.
void write_for_ever(const Address& address, unsigned number, int report) {
  Client client(address);
  client.begin();
  const auto made = create(client, machine, u"Clients\\" + name_of(number));
  for (unsigned i = 0;; ++i) {
    const std::u16string name = name_of(i);
    const auto answered = client.ask<wire::Set_Value>(
        {.key = made->handle, .name = text(name), .type = REG_BINARY, .data = bytes("data")});
    if (!answered.error.empty() || answered->code != 0) return;
    const Done done{number, i};
    if (write(report, &done, sizeof done) != sizeof done) return;
  }
}

TEST(Writes, OfEightClientsThatWereReportedDoneOutliveAKill) {
  constexpr unsigned clients = 8;
  constexpr unsigned enough = 1500;
  Served served;
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  std::vector<pid_t> writers;
  for (unsigned i = 0; i < clients; ++i) {
    writers.push_back(fork());
    if (writers.back() == 0) {
      write_for_ever(served.address(), i, ends[1]);
      _exit(0);
    }
  }
  close(ends[1]);
  std::map<unsigned, unsigned> counts;
  unsigned total = 0;
  for (Done done{}; read(ends[0], &done, sizeof done) == sizeof done;) {
    counts[done.client] = done.number + 1;
    if (++total == enough) served.kill();
  }
  close(ends[0]);
  for (const pid_t writer : writers) waitpid(writer, nullptr, 0);
  ASSERT_GE(total, enough);

  served.start();
  Client client(served.address());
  ASSERT_EQ(client.begin()->code, 0u);
  for (const auto& [number, count] : counts) {
    const auto key = open(client, machine, u"Clients\\" + name_of(number));
    ASSERT_EQ(key->code, 0u);
    for (unsigned i = 0; i < count; ++i) {
      ASSERT_EQ(string_of(query(client, key->handle, name_of(i))->data), "data") << number << " " << i;
    }
  }
}

}  // namespace
