// What clients keep, with a real server: nobody reads what was true once and is not any more.
#include <sys/mman.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <barrier>
#include <fstream>
#include <thread>

#include "tests/client/served.h"
#include "tests/support/ordinary_user.h"

namespace {

using namespace kvtest;
using std::chrono::milliseconds;

class Still_True : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(server.start()); }
  impl::client::Client_Service& new_client() { return new_service(settings_for(server.endpoint())); }
  // One that gives a server that does not answer up soon.
  impl::client::Client_Service& hasty_client() {
    impl::client::Settings settings = settings_for(server.endpoint());
    settings.answer = settings.search = milliseconds(500);
    settings.single_try = milliseconds(100);
    return new_service(settings);
  }

  Temp_Folder folder;
  Test_Server server{folder.path(), true};
};

int status_of_child(const std::function<void()>& function) {
  fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    function();
    _exit(99);
  }
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
}

TEST_F(Still_True, WhatIsKnownIsReadWhileTheServerIsStopped) {
  const Client client{hasty_client()};
  const HKEY key = client.made(HKEY_LOCAL_MACHINE, u"k");
  client.set(key, u"v", REG_BINARY, "known");
  client.set(key, u"w", REG_BINARY, "unread");
  ASSERT_EQ(client.get(key, u"v").data, "known");
  server.signal(SIGSTOP);
  for (int i = 0; i < 100; ++i) ASSERT_EQ(client.get(key, u"V"), (Value{0, REG_BINARY, "known"}));
  EXPECT_EQ(client.get(key, u"w").code, 1722u);
  EXPECT_EQ(client.get(key, u"v"), (Value{0, REG_BINARY, "known"}));
  server.signal(SIGCONT);
}

TEST_F(Still_True, AForkedChildReadsWhatItsParentKnew) {
  const Client client{hasty_client()};
  const HKEY key = client.made(HKEY_LOCAL_MACHINE, u"k");
  client.set(key, u"v", REG_BINARY, "known");
  client.get(key, u"v");
  server.signal(SIGSTOP);
  EXPECT_EQ(status_of_child([&] { _exit(client.get(key, u"v").data == "known" ? 0 : 1); }), 0);
  server.signal(SIGCONT);
}

TEST_F(Still_True, AWriteToOneKeyLeavesOthersKnown) {
  const Client reader{hasty_client()}, writer{new_client()};
  std::vector<HKEY> keys;
  for (const auto* name : {u"a", u"b", u"c"}) {
    keys.push_back(reader.made(HKEY_LOCAL_MACHINE, name));
    reader.set(keys.back(), u"v", REG_BINARY, "before");
  }
  for (const HKEY each : keys) reader.get(each, u"v");
  writer.set(writer.made(HKEY_LOCAL_MACHINE, u"a"), u"v", REG_BINARY, "after");
  EXPECT_EQ(reader.get(keys[1], u"v").data, "before");  // asks for all three
  EXPECT_EQ(reader.get(keys[0], u"v").data, "after");
  server.signal(SIGSTOP);
  EXPECT_EQ(reader.get(keys[2], u"v").data, "before");
  server.signal(SIGCONT);
}

TEST_F(Still_True, EveryKindOfChangeIsSeenAtOnce) {
  impl::client::Client_Service& other = new_client();
  const Client reader{new_client()}, writer{other};
  const HKEY key = reader.made(HKEY_LOCAL_MACHINE, u"k");
  const HKEY theirs = writer.made(HKEY_LOCAL_MACHINE, u"k");
  EXPECT_EQ(reader.get(key, u"v").code, 2u);
  writer.set(theirs, u"v", REG_BINARY, "one");
  EXPECT_EQ(reader.get(key, u"v").data, "one");
  writer.set(theirs, u"v", REG_DWORD, "four");
  EXPECT_EQ(reader.get(key, u"v").type, unsigned{REG_DWORD});
  other.delete_value(theirs, u"v");
  EXPECT_EQ(reader.get(key, u"v").code, 2u);
  writer.set(theirs, u"v", REG_BINARY, "two");
  EXPECT_EQ(reader.get(key, u"v").data, "two");
  other.delete_key(HKEY_LOCAL_MACHINE, u"k");
  EXPECT_EQ(reader.get(key, u"v").code, 1018u);
}

TEST_F(Still_True, ABatchReadsItsOwnChangesAndOthersWhatWasCommitted) {
  impl::client::Client_Service& service = new_client();
  const Client client{service};
  const HKEY key = client.made(HKEY_LOCAL_MACHINE, u"k");
  client.set(key, u"v", REG_BINARY, "before");
  const auto read_by_another_thread = [&] {
    Value value;
    std::thread([&] { value = client.get(key, u"v"); }).join();
    return value.data;
  };
  ASSERT_EQ(client.get(key, u"v").data, "before");
  ASSERT_EQ(service.begin_batch(), 0u);
  ASSERT_EQ(client.set(key, u"v", REG_BINARY, "within"), 0u);
  EXPECT_EQ(client.get(key, u"v").data, "within");
  EXPECT_EQ(read_by_another_thread(), "before");
  std::vector<impl::Batch_Hive> hives;
  ASSERT_EQ(service.commit_batch(&hives), 0u);
  EXPECT_EQ(read_by_another_thread(), "within");
  ASSERT_EQ(service.begin_batch(), 0u);
  ASSERT_EQ(client.set(key, u"v", REG_BINARY, "never"), 0u);
  EXPECT_EQ(client.get(key, u"v").data, "never");
  ASSERT_EQ(service.abandon_batch(), 0u);
  EXPECT_EQ(client.get(key, u"v").data, "within");
}

TEST_F(Still_True, AHandleKeepsItsRightsAfterThoseOfItsKeyChanged) {
  impl::client::Client_Service& service = new_client();
  const Client client{service};
  const HKEY key = client.made(HKEY_LOCAL_MACHINE, u"k");
  client.set(key, u"v", REG_BINARY, "x");
  client.get(key, u"v");
  const DWORD none = 0;
  ASSERT_EQ(service.change_rights(key, u"", {.mode = &none}), 0u);
  EXPECT_EQ(client.get(key, u"v").data, "x");
}

TEST_F(Still_True, NothingOfAServerThatWasKilledIsBelieved) {
  impl::client::Client_Service& service = new_client();
  const Client client{service}, other{new_client()};
  const HKEY key = client.made(HKEY_LOCAL_MACHINE, u"k");
  client.set(key, u"v", REG_BINARY, "before");
  client.get(key, u"v");
  server.end_by(SIGKILL);
  ASSERT_TRUE(server.start());
  ASSERT_EQ(other.set(other.made(HKEY_LOCAL_MACHINE, u"k"), u"v", REG_BINARY, "after"), 0u);
  EXPECT_EQ(client.get(key, u"v").data, "after");
}

TEST_F(Still_True, NothingOfAServerThatIsGoneIsBelieved) {
  for (const int signal : {SIGTERM, SIGKILL}) {
    const Client client{hasty_client()};
    const HKEY key = client.made(HKEY_LOCAL_MACHINE, u"k");
    client.set(key, u"v", REG_BINARY, "x");
    client.get(key, u"v");
    server.end_by(signal);
    EXPECT_EQ(client.get(key, u"v").code, 1722u);
    ASSERT_TRUE(server.start());
  }
}

// Processes that drop their rights notice it with a tick of the clock.
TEST_F(Still_True, WhatRootKnewIsNotReadForLongAfterItBecameAnotherUser) {
  if (geteuid() != 0) GTEST_SKIP() << "only root has rights to drop";
  ASSERT_EQ(chmod(folder.path().c_str(), 0755), 0);
  ASSERT_EQ(chmod((folder / "port").c_str(), 0777), 0);
  std::ofstream(server.endpoint()) << "./port";
  EXPECT_EQ(status_of_child([&] {
              if (chdir(folder.path().c_str()) != 0) _exit(69);
              impl::client::Client_Service& service = new_service(settings_for("./regss"));
              const Client client{service};
              const HKEY key = client.made(HKEY_LOCAL_MACHINE, u"closed");
              const DWORD nobody_else = 0700;
              service.change_rights(key, u"", {.mode = &nobody_else});
              client.set(key, u"v", REG_BINARY, "secret");
              if (client.get(key, u"v").data != "secret" || !become_ordinary_user()) _exit(70);
              const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(30);
              while (client.get(key, u"v").code == 0) {
                if (std::chrono::steady_clock::now() > give_up) _exit(71);
              }
              _exit(client.get(key, u"v").code == 5 ? 0 : 72);
            }),
            0);
}

// What the processes of one test share: how far the writer has been answered, and how it ended.
struct Shared {
  std::atomic<std::uint32_t> written{0};
  std::atomic<bool> has_ended{false};
  std::atomic<int> readers{0};

  static Shared& make() {
    void* const room = mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    return *new (room) Shared;
  }
};

std::uint32_t number_in(const Value& value) {
  std::uint32_t number = 0;
  if (value.code == 0 && value.data.size() == sizeof number) memcpy(&number, value.data.data(), sizeof number);
  return number;
}

// Reads until the writer has ended; 0, or what was wrong.
int read_beside(impl::client::Client_Service& service, Shared& shared) {
  const Client client{service};
  const HKEY key = client.made(HKEY_LOCAL_MACHINE, u"hammered");
  ++shared.readers;
  for (std::uint32_t last = 0; !shared.has_ended;) {
    const std::uint32_t least = shared.written;
    const Value value = client.get(key, u"n", 4);
    const std::uint32_t number = number_in(value);
    if (value.code != 0) return 3;
    if (number < least) return 1;  // older than a write that was answered before the read began
    if (number < last) return 2;   // older than what was read before
    last = number;
  }
  return 0;
}

void write_numbers(impl::client::Client_Service& service, Shared& shared, std::uint32_t first, std::uint32_t last) {
  const Client client{service};
  const HKEY key = client.made(HKEY_LOCAL_MACHINE, u"hammered");
  for (std::uint32_t i = first; i <= last; ++i) {
    const std::string data(reinterpret_cast<const char*>(&i), sizeof i);
    ASSERT_EQ(client.set(key, u"n", REG_DWORD, data), 0u);
    shared.written = i;
  }
}

TEST_F(Still_True, NobodyReadsLessThanWhatWasWrittenBeforeNorGoesBack) {
  Shared& shared = Shared::make();
  write_numbers(new_client(), shared, 1, 1);
  std::vector<pid_t> readers;
  for (int i = 0; i < 3; ++i) {
    fflush(nullptr);
    readers.push_back(fork());
    if (readers.back() == 0) {
      alarm(300);
      impl::client::Client_Service& service = new_client();
      std::atomic<int> wrong = 0;
      std::thread beside([&] { wrong = read_beside(service, shared); });
      const int own = read_beside(service, shared);
      beside.join();
      _exit(own != 0 ? own : wrong.load());
    }
  }
  while (shared.readers < 6) std::this_thread::yield();
  write_numbers(new_client(), shared, 2, 400);
  shared.has_ended = true;
  for (const pid_t each : readers) {
    int status = 0;
    ASSERT_EQ(waitpid(each, &status, 0), each);
    EXPECT_EQ(status, 0);
  }
}

TEST_F(Still_True, NobodyReadsLessWhenServersAreKilledAmidWrites) {
  Shared& shared = Shared::make();
  write_numbers(new_client(), shared, 1, 1);
  fflush(nullptr);
  const pid_t reader = fork();
  if (reader == 0) {
    alarm(300);
    _exit(read_beside(new_client(), shared));
  }
  while (shared.readers < 1) std::this_thread::yield();
  std::thread writer([&] { write_numbers(new_client(), shared, 2, 400); });
  for (const std::uint32_t at : {50u, 150u, 250u}) {
    while (shared.written < at) std::this_thread::yield();
    server.end_by(SIGKILL);
    EXPECT_TRUE(server.start());
  }
  writer.join();
  shared.has_ended = true;
  int status = 0;
  ASSERT_EQ(waitpid(reader, &status, 0), reader);
  EXPECT_EQ(status, 0);
}

TEST_F(Still_True, ManyThreadsReadWhileHandlesAreClosedAndValuesChange) {
  constexpr int readers = 64, rounds = 8, reads_in_a_round = 50;
  impl::client::Client_Service& service = new_client();
  const Client client{service};
  const HKEY base = client.made(HKEY_LOCAL_MACHINE, u"k");
  client.set(base, u"a", REG_BINARY, std::string(100, 'a'));
  client.set(base, u"b", REG_BINARY, std::string(100, 'a'));
  std::atomic<HKEY> shown{base};
  std::atomic<int> wrong = 0;
  std::barrier round_ends(readers + 1);
  const auto is_good = [](const Value& value) {
    if (value.code == 6) return true;  // closed meanwhile
    return value.data.size() == 100 && value.data.find_first_not_of(value.data[0]) == std::string::npos;
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < readers; ++i) {
    threads.emplace_back([&, i] {
      for (int read = 0; read < rounds * reads_in_a_round; ++read) {
        if (!is_good(client.get(shown, i % 2 == 0 ? u"a" : u"b", 100))) ++wrong;
        if (read % reads_in_a_round == reads_in_a_round - 1) round_ends.arrive_and_wait();
      }
    });
  }
  for (int round = 0; round < rounds; ++round) {
    client.set(base, u"a", REG_BINARY, std::string(100, static_cast<char>('a' + round)));
    HKEY next = nullptr;
    EXPECT_EQ(service.open_key(base, u"", KEY_READ, &next), 0u);
    const HKEY last = shown.exchange(next);
    EXPECT_TRUE(last == base || service.close_key(last) == 0);
    round_ends.arrive_and_wait();
  }
  for (std::thread& each : threads) each.join();
  EXPECT_EQ(wrong, 0);
}

TEST_F(Still_True, SignalHandlersReadWhatIsKnown) {
  static const Client* handler_client = nullptr;
  static HKEY handler_key = nullptr;
  static std::atomic<int> good = 0, bad = 0;
  EXPECT_EQ(status_of_child([&] {
              const Client client{new_client()};
              const HKEY key = client.made(HKEY_LOCAL_MACHINE, u"k");
              client.set(key, u"v", REG_BINARY, "x");
              client.get(key, u"v");
              handler_client = &client;
              handler_key = key;
              struct sigaction action {};
              action.sa_handler = [](int) {
                BYTE byte = 0;
                impl::Value_Room room{&byte, 1};
                const DWORD code = handler_client->service.query_value(handler_key, u"v", room);
                code == 0 && byte == 'x' ? ++good : ++bad;
              };
              sigaction(SIGALRM, &action, nullptr);
              const itimerval often{{0, 1000}, {0, 1000}};
              setitimer(ITIMER_REAL, &often, nullptr);
              while (good < 100 && bad == 0) {
                if (client.get(key, u"v").data != "x") _exit(1);
              }
              _exit(bad == 0 ? 0 : 2);
            }),
            0);
}

}  // namespace
