// Servers that are killed, stopped, started again, or not there.
#include <winbase.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <thread>

#include "tests/client/served.h"

namespace {

using namespace kvtest;
using std::chrono::milliseconds;

class Restarts : public testing::Test {
 protected:
  void SetUp() override {
    complaints().clear();
    ASSERT_TRUE(server.start());
  }
  void restart(int signal = SIGKILL) {
    server.end_by(signal);
    ASSERT_TRUE(server.start());
  }
  impl::client::Client_Service& new_client() { return new_service(settings_for(server.endpoint())); }

  Temp_Folder folder;
  Test_Server server{folder.path()};
};

TEST_F(Restarts, HandlesGoOnInTheNextServer) {
  impl::client::Client_Service& service = new_client();
  const Client client{service};
  const HKEY key = client.made(HKEY_LOCAL_MACHINE, u"a\\b");
  ASSERT_EQ(client.set(key, u"v", REG_BINARY, "before"), 0u);
  for (const int signal : {SIGKILL, SIGTERM}) {
    restart(signal);
    EXPECT_EQ(client.get(key, u"v"), (Value{0, REG_BINARY, "before"}));
  }
  EXPECT_EQ(client.set(key, u"v", REG_BINARY, "after"), 0u);
  const HKEY below = client.made(key, u"c");
  restart();
  EXPECT_EQ(client.set(below, u"v", REG_BINARY, "below"), 0u);
  EXPECT_EQ(service.close_key(below), 0u);
  EXPECT_EQ(service.close_key(key), 0u);
  EXPECT_TRUE(complaints().empty());
}

TEST_F(Restarts, AnotherKeyOfTheSameNameIsNotTakenForTheOneThatWasOpen) {
  impl::client::Client_Service& service = new_client();
  impl::client::Client_Service& other = new_client();
  const Client client{service};
  const HKEY key = client.made(HKEY_LOCAL_MACHINE, u"a\\b");
  const HKEY gone = client.made(HKEY_LOCAL_MACHINE, u"gone");
  restart();
  ASSERT_EQ(other.delete_key(HKEY_LOCAL_MACHINE, u"a\\b"), 0u);
  ASSERT_EQ(other.delete_key(HKEY_LOCAL_MACHINE, u"gone"), 0u);
  other.close_key(Client{other}.made(HKEY_LOCAL_MACHINE, u"a\\b"));
  EXPECT_EQ(client.get(key, u"v").code, 1018u);
  EXPECT_EQ(client.set(gone, u"v", REG_BINARY, "x"), 1018u);
  EXPECT_EQ(service.close_key(key), 0u);
  EXPECT_EQ(service.close_key(gone), 0u);
}

TEST_F(Restarts, WritersGoOnByThemselvesAndNothingThatWasDoneIsLost) {
  constexpr int writers = 8;
  std::atomic<bool> stop = false;
  std::atomic<int> rounds = 0, failed = 0;
  std::vector<int> done(writers, 0);
  std::vector<std::thread> threads;
  for (int w = 0; w < writers; ++w) {
    threads.emplace_back([&, w] {
      const Client client{new_client()};
      const HKEY key = client.made(HKEY_LOCAL_MACHINE, u"loop");
      const std::u16string name(1, static_cast<char16_t>(u'a' + w));
      for (int i = 1; !stop; ++i) {
        if (client.set(key, name + std::u16string(1, static_cast<char16_t>(0x100 + i)), REG_BINARY, "x") == 0) {
          done[static_cast<std::size_t>(w)] = i;
        } else {
          ++failed;
        }
        ++rounds;
      }
    });
  }
  const int most_kills = std::getenv("KV_TEST_LONG") != nullptr ? 100 : 3;
  for (int kills = 0; kills < most_kills; ++kills) {
    const int before = rounds;
    while (rounds < before + 20) std::this_thread::yield();
    restart();
  }
  const int before = rounds;
  while (rounds < before + 20) std::this_thread::yield();
  stop = true;
  for (std::thread& each : threads) each.join();
  EXPECT_EQ(failed, 0);
  const Client reader{new_client()};
  const HKEY key = reader.made(HKEY_LOCAL_MACHINE, u"loop");
  for (int w = 0; w < writers; ++w) {
    const std::u16string name(1, static_cast<char16_t>(u'a' + w));
    for (int i = 1; i <= done[static_cast<std::size_t>(w)]; ++i) {
      ASSERT_EQ(reader.get(key, name + std::u16string(1, static_cast<char16_t>(0x100 + i)), 8).code, 0u) << w << i;
    }
  }
}

TEST_F(Restarts, WatchesAreToldThatTheyMayHaveMissedAChange) {
  impl::client::Client_Service& service = new_client();
  const HKEY key = Client{service}.made(HKEY_LOCAL_MACHINE, u"k");
  const HANDLE event = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  ASSERT_EQ(service.watch_key(key, false, 4, event), 0u);
  restart();
  EXPECT_EQ(WaitForSingleObject(event, 60'000), 0u);
  ResetEvent(event);
  ASSERT_EQ(service.watch_key(key, false, 4, event), 0u);
  ASSERT_EQ(Client{service}.set(key, u"v", REG_BINARY, "x"), 0u);
  EXPECT_EQ(WaitForSingleObject(event, 60'000), 0u);
  CloseHandle(event);
}

TEST_F(Restarts, AServerThatIsStoppedIsWaitedForSoLong) {
  impl::client::Settings settings = settings_for(server.endpoint());
  settings.answer = milliseconds(300);
  settings.search = milliseconds(300);
  settings.single_try = milliseconds(100);
  impl::client::Client_Service& service = new_service(settings);
  const HKEY key = Client{service}.made(HKEY_LOCAL_MACHINE, u"k");
  server.signal(SIGSTOP);
  EXPECT_EQ(Client{service}.get(key, u"v").code, 1722u);
  EXPECT_EQ(Client{service}.set(key, u"v", REG_BINARY, "x"), 1722u);
  server.signal(SIGCONT);
  for (int i = 0; i < 1000 && Client{service}.set(key, u"v", REG_BINARY, "y") != 0; ++i) {
  }
  EXPECT_EQ(Client{service}.get(key, u"v"), (Value{0, REG_BINARY, "y"}));
}

TEST_F(Restarts, NoServerIsLookedForOnceAndComplainedOfOnce) {
  server.end_by(SIGKILL);
  impl::client::Settings settings = settings_for(server.endpoint());
  settings.search = milliseconds(200);
  impl::client::Client_Service& service = new_service(settings);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(Client{service}.get(HKEY_LOCAL_MACHINE, u"v").code, 1722u);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, milliseconds(200));
  HKEY key = nullptr;
  EXPECT_EQ(service.open_key(HKEY_LOCAL_MACHINE, u"k", KEY_READ, &key), 1722u);
  EXPECT_EQ(service.watch_key(HKEY_LOCAL_MACHINE, false, 1, nullptr), 1722u);
  ASSERT_EQ(complaints().size(), 1u);
  EXPECT_EQ(complaints()[0], "no server answers at " + server.endpoint() + " (" + folder.path() +
                                 "/port: Connection refused); it is started by \"regss --user\"");
}

TEST_F(Restarts, AServerThatComesWhileItIsLookedForIsFound) {
  server.end_by(SIGKILL);
  impl::client::Client_Service& service = new_client();
  std::thread starter([this] { EXPECT_TRUE(server.start()); });
  EXPECT_EQ(Client{service}.get(HKEY_LOCAL_MACHINE, u"v").code, 2u);
  starter.join();
}

TEST_F(Restarts, AServerIsRevivedWhereClientsDoThat) {
  server.end_by(SIGKILL);
  impl::client::Settings settings = settings_for(server.endpoint());
  std::atomic<int> revived = 0;
  settings.revive = [&] {
    ++revived;
    EXPECT_TRUE(server.start());
  };
  impl::client::Client_Service& service = new_service(settings);
  EXPECT_EQ(Client{service}.get(HKEY_LOCAL_MACHINE, u"v").code, 2u);
  EXPECT_EQ(revived, 1);
}

TEST_F(Restarts, ShutDownEndsTheServer) {
  impl::client::Client_Service& service = new_client();
  EXPECT_EQ(service.shut_down(), 0u);
  int status = 0;
  ASSERT_EQ(waitpid(server.pid(), &status, 0), server.pid());
  EXPECT_EQ(status, 0);
}

}  // namespace
