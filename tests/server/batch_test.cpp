// Batches of connections: one transaction of each hive that they change, while everybody else goes on.
#include <sys/resource.h>
#include <winerror.h>

#include "hive/batch.h"
#include "tests/server/served.h"

namespace {

using namespace servertest;

const wire::Number machine = number(HKEY_LOCAL_MACHINE);
const wire::Number user = number(HKEY_CURRENT_USER);

wire::Number begin_batch(Client& client) { return client.ask<wire::Begin_Batch>({})->code; }
wire::Number commit(Client& client) { return client.ask<wire::Commit_Batch>({})->code; }
wire::Number abandon(Client& client) { return client.ask<wire::Abandon_Batch>({})->code; }

class Batches : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(client.begin()->code, 0u);
    ASSERT_EQ(other.begin()->code, 0u);
    key = create(client, machine, u"Shared")->handle;
    others_key = create(other, machine, u"Shared")->handle;
  }
  // What somebody else reads; empty when there is nothing.
  std::string seen_by_other(std::u16string_view name) { return string_of(query(other, others_key, name)->data); }
  // Sets a value without waiting for the answer.
  static void send_set(Client& by, wire::Number at, std::u16string_view name) {
    by.send<wire::Set_Value>({.key = at, .name = text(name), .type = REG_BINARY, .data = bytes("x")});
  }

  Served served;
  Client client{served.address()};
  Client other{served.address()};
  wire::Number key = 0;
  wire::Number others_key = 0;
};

TEST_F(Batches, AreSeenByTheirConnectionAtOnceAndByOthersAfterTheCommit) {
  ASSERT_EQ(begin_batch(client), 0u);
  ASSERT_EQ(set(client, key, u"v", "new"), 0u);
  const auto made = create(client, key, u"Below");
  ASSERT_EQ(made->code, 0u);
  EXPECT_EQ(set(client, made->handle, u"v", "below"), 0u);
  EXPECT_EQ(string_of(query(client, key, u"v")->data), "new");
  EXPECT_EQ(client.ask<wire::Query_Info>({.key = key})->sub_keys, 1u);
  EXPECT_EQ(seen_by_other(u"v"), "");
  EXPECT_EQ(open(other, others_key, u"Below")->code, 2u);
  const auto ended = client.ask<wire::Commit_Batch>({});
  EXPECT_EQ(ended->code, 0u);
  ASSERT_EQ(ended->hives.size(), 1u);
  EXPECT_EQ(ended->hives[0].root, machine);
  EXPECT_EQ(string_of(ended->hives[0].file), served.folder() + "/machine");
  EXPECT_EQ(ended->hives[0].code, 0u);
  EXPECT_EQ(seen_by_other(u"v"), "new");
  EXPECT_EQ(open(other, others_key, u"Below")->code, 0u);
  EXPECT_EQ(string_of(query(client, made->handle, u"v")->data), "below");
}

TEST_F(Batches, ThatAreAbandonedLeaveNothingAndTheirKeysAreNone) {
  ASSERT_EQ(begin_batch(client), 0u);
  ASSERT_EQ(set(client, key, u"v", "new"), 0u);
  const auto made = create(client, key, u"Below");
  EXPECT_EQ(abandon(client), 0u);
  EXPECT_EQ(query(client, key, u"v")->code, 2u);
  EXPECT_EQ(query(client, made->handle, u"v")->code, 1018u);
  EXPECT_EQ(set(client, key, u"v", "later"), 0u);
  EXPECT_EQ(seen_by_other(u"v"), "later");
}

TEST_F(Batches, AreOneAtATimeAndTheirEndsNeedOne) {
  EXPECT_EQ(commit(client), 6701u);
  EXPECT_EQ(abandon(client), 6701u);
  ASSERT_EQ(begin_batch(client), 0u);
  EXPECT_EQ(begin_batch(client), 6702u);
  const auto nothing = client.ask<wire::Commit_Batch>({});
  EXPECT_EQ(nothing->code, 0u);
  EXPECT_TRUE(nothing->hives.empty());
  EXPECT_EQ(commit(client), 6701u);
  ASSERT_EQ(begin_batch(client), 0u);
  EXPECT_EQ(set(client, key, u"v", "second"), 0u);
  EXPECT_EQ(commit(client), 0u);
  EXPECT_EQ(seen_by_other(u"v"), "second");
}

TEST_F(Batches, TellOfEachHiveInTheOrderOfTheirFirstChanges) {
  ASSERT_EQ(begin_batch(client), 0u);
  ASSERT_EQ(set(client, user, u"v", "user"), 0u);
  ASSERT_EQ(set(client, key, u"v", "machine"), 0u);
  const auto ended = client.ask<wire::Commit_Batch>({});
  ASSERT_EQ(ended->hives.size(), 2u);
  EXPECT_EQ(ended->hives[0].root, number(HKEY_USERS));
  EXPECT_EQ(string_of(ended->hives[0].file), served.folder() + "/users");
  EXPECT_EQ(ended->hives[1].root, machine);
  EXPECT_EQ(string_of(query(other, user, u"v")->data), "user");
  EXPECT_EQ(seen_by_other(u"v"), "machine");
}

TEST_F(Batches, MayBeAskedForInOneGo) {
  constexpr int values = 40;
  client.send<wire::Begin_Batch>({});
  for (int i = 0; i < values; ++i) send_set(client, key, std::u16string(1, static_cast<char16_t>(u'a' + i)));
  client.send<wire::Commit_Batch>({});
  client.send<wire::Query_Info>({.key = key});
  EXPECT_EQ(client.receive_answer<wire::Begin_Batch>()->code, 0u);
  for (int i = 0; i < values; ++i) ASSERT_EQ(client.receive_answer<wire::Set_Value>()->code, 0u);
  EXPECT_EQ(client.receive_answer<wire::Commit_Batch>()->hives.size(), 1u);
  EXPECT_EQ(client.receive_answer<wire::Query_Info>()->values, 40u);
}

TEST_F(Batches, LetOthersReadAndHaveTheirWritesWait) {
  ASSERT_EQ(begin_batch(client), 0u);
  ASSERT_EQ(set(client, key, u"v", "batch"), 0u);
  send_set(other, others_key, u"w");
  Client reader(served.address());
  reader.begin();
  const auto readers_key = open(reader, machine, u"Shared", KEY_ALL_ACCESS);
  EXPECT_EQ(query(reader, readers_key->handle, u"v")->code, 2u);
  EXPECT_EQ(query(reader, readers_key->handle, u"w")->code, 2u);
  EXPECT_EQ(query(client, key, u"w")->code, 2u);
  EXPECT_EQ(commit(client), 0u);
  EXPECT_EQ(other.receive_answer<wire::Set_Value>()->code, 0u);
  EXPECT_EQ(string_of(query(reader, readers_key->handle, u"w")->data), "x");
}

TEST_F(Batches, DoNotKeepOthersFromAnotherHive) {
  ASSERT_EQ(begin_batch(client), 0u);
  ASSERT_EQ(set(client, key, u"v", "batch"), 0u);
  ASSERT_EQ(set(other, user, u"v", "user"), 0u);
  EXPECT_EQ(abandon(client), 0u);
}

TEST_F(Batches, AreBusyForWhoHasWaitedFiveSeconds) {
  ASSERT_EQ(begin_batch(client), 0u);
  ASSERT_EQ(set(client, key, u"v", "batch"), 0u);
  send_set(other, others_key, u"first");
  send_set(other, others_key, u"second");
  other.send<wire::Query_Value>({.key = others_key, .name = text(u"v"), .room = 10});
  EXPECT_EQ(other.receive_answer<wire::Set_Value>()->code, 170u);
  EXPECT_EQ(other.receive_answer<wire::Set_Value>()->code, 170u);
  EXPECT_EQ(other.receive_answer<wire::Query_Value>()->code, 2u);
  EXPECT_EQ(commit(client), 0u);
  EXPECT_EQ(set(other, others_key, u"third", "x"), 0u);
  EXPECT_EQ(query(other, others_key, u"first")->code, 2u);
}

TEST_F(Batches, OfAConnectionThatGoesAreAbandoned) {
  {
    Client passing(served.address());
    passing.begin();
    const auto its_key = open(passing, machine, u"Shared", KEY_ALL_ACCESS);
    ASSERT_EQ(begin_batch(passing), 0u);
    ASSERT_EQ(set(passing, its_key->handle, u"v", "lost"), 0u);
  }
  EXPECT_EQ(set(other, others_key, u"w", "x"), 0u);
  EXPECT_EQ(seen_by_other(u"v"), "");
}

TEST_F(Batches, OfAServerThatIsKilledLeaveNothing) {
  ASSERT_EQ(begin_batch(client), 0u);
  ASSERT_EQ(set(client, key, u"v", "lost"), 0u);
  served.kill();
  served.start();
  Client next(served.address());
  next.begin();
  EXPECT_EQ(query(next, open(next, machine, u"Shared")->handle, u"v")->code, 2u);
}

TEST_F(Batches, EndWithTheServer) {
  ASSERT_EQ(begin_batch(client), 0u);
  ASSERT_EQ(set(client, key, u"v", "lost"), 0u);
  EXPECT_EQ(served.stop(), 0);
  served.start();
  Client next(served.address());
  next.begin();
  EXPECT_EQ(query(next, open(next, machine, u"Shared")->handle, u"v")->code, 2u);
}

TEST_F(Batches, TellWatchersAfterTheCommit) {
  other.send<wire::Watch_Key>({.key = others_key, .filter = REG_NOTIFY_CHANGE_LAST_SET});
  other.ask<wire::List_Connected>({});  // behind it: the watch stands
  ASSERT_EQ(begin_batch(client), 0u);
  ASSERT_EQ(set(client, key, u"v", "new"), 0u);
  other.send<wire::Query_Value>({.key = others_key, .name = text(u"v"), .room = 10});
  EXPECT_EQ(other.receive_answer<wire::Query_Value>()->code, 2u);  // and not the watch's
  EXPECT_EQ(commit(client), 0u);
  EXPECT_EQ(other.receive_answer<wire::Watch_Key>()->code, 0u);
}

TEST_F(Batches, TakeNoWatchesAndNoImages) {
  ASSERT_EQ(begin_batch(client), 0u);
  const wire::Watch_Key::Question watch{.key = key, .filter = REG_NOTIFY_CHANGE_LAST_SET};
  EXPECT_EQ(client.ask<wire::Watch_Key>(watch)->code, 6702u);
  EXPECT_EQ(client.ask<wire::User_Image>({})->code, 6702u);
  EXPECT_EQ(client.ask<wire::Flush_Key>({.key = key})->code, 0u);
  EXPECT_EQ(abandon(client), 0u);
}

TEST_F(Batches, OfOneUserAreSixteenAtMost) {
  std::vector<std::unique_ptr<Client>> clients;
  for (int i = 0; i < 16; ++i) {
    clients.push_back(std::make_unique<Client>(served.address()));
    clients.back()->begin();
    ASSERT_EQ(begin_batch(*clients.back()), 0u);
  }
  EXPECT_EQ(client.ask<wire::Begin_Batch>({}).error, wire::error_limit);
  EXPECT_EQ(set(client, key, u"v", "x"), 0u);
  clients.pop_back();
  while (!client.ask<wire::Begin_Batch>({}).error.empty()) {  // until its thread has gone
  }
  EXPECT_EQ(abandon(client), 0u);
}

// No file grows beyond this in the server's process: a short transaction is kept, a long one is not.
void forbid_large_files() {
  signal(SIGXFSZ, SIG_IGN);
  const rlimit limit{512 * 1024, 512 * 1024};
  if (setrlimit(RLIMIT_FSIZE, &limit) != 0) _exit(99);
}

TEST(Batch_Of_Two_Hives, TellsWhichOneIsKeptWhenTheLaterOneFails) {
  Served served(For::machine, 0, forbid_large_files);
  Client client(served.address());
  ASSERT_EQ(client.begin()->code, 0u);
  create(client, user, u"Mine");
  const wire::Number shared = create(client, machine, u"Shared")->handle;
  ASSERT_EQ(begin_batch(client), 0u);
  ASSERT_EQ(set(client, user, u"v", "kept"), 0u);
  ASSERT_EQ(set(client, shared, u"v", std::string(900'000, 'x')), 0u);
  const auto ended = client.ask<wire::Commit_Batch>({});
  EXPECT_EQ(ended->code, 1016u);
  ASSERT_EQ(ended->hives.size(), 2u);
  EXPECT_EQ(ended->hives[0].root, number(HKEY_USERS));
  EXPECT_EQ(ended->hives[0].code, 0u);
  EXPECT_EQ(ended->hives[1].root, machine);
  EXPECT_EQ(ended->hives[1].code, 1016u);
  EXPECT_EQ(string_of(query(client, user, u"v")->data), "kept");
  EXPECT_EQ(query(client, shared, u"v")->code, 2u);
  EXPECT_EQ(set(client, shared, u"v", "short"), 0u);
}

TEST(Batch_Of_Two_Hives, TriesNoLaterOneWhenTheFirstFails) {
  Served served(For::machine, 0, forbid_large_files);
  Client client(served.address());
  ASSERT_EQ(client.begin()->code, 0u);
  create(client, user, u"Mine");
  const wire::Number shared = create(client, machine, u"Shared")->handle;
  ASSERT_EQ(begin_batch(client), 0u);
  ASSERT_EQ(set(client, shared, u"v", std::string(900'000, 'x')), 0u);
  ASSERT_EQ(set(client, user, u"v", "not kept"), 0u);
  const auto ended = client.ask<wire::Commit_Batch>({});
  EXPECT_EQ(ended->code, 1016u);
  ASSERT_EQ(ended->hives.size(), 2u);
  EXPECT_EQ(ended->hives[0].code, 1016u);
  EXPECT_EQ(ended->hives[1].code, 995u);
  EXPECT_EQ(query(client, user, u"v")->code, 2u);
  EXPECT_EQ(query(client, shared, u"v")->code, 2u);
}

TEST(Batch_Limit, GivesTheHiveToOthersThoughTheClientDoesNothing) {
  Served served(For::machine, 0, [] { hive::Batch::assume_limit(std::chrono::milliseconds(200)); });
  Client client(served.address()), other(served.address());
  client.begin();
  other.begin();
  const auto key = create(client, machine, u"Shared");
  const auto others_key = create(other, machine, u"Shared");
  ASSERT_EQ(begin_batch(client), 0u);
  ASSERT_EQ(set(client, key->handle, u"v", "lost"), 0u);
  EXPECT_EQ(set(other, others_key->handle, u"w", "x"), 0u);
  EXPECT_EQ(set(client, key->handle, u"v", "late"), 6704u);
  EXPECT_EQ(string_of(query(client, key->handle, u"w")->data), "x");
  EXPECT_EQ(commit(client), 6704u);
  EXPECT_EQ(query(client, key->handle, u"v")->code, 2u);
  EXPECT_EQ(set(client, key->handle, u"v", "again"), 0u);
}

}  // namespace
