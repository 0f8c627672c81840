// Batches of threads through a real server.
#include <winbase.h>
#include <winnt.h>

#include <thread>

#include "tests/client/served.h"

namespace {

using namespace kvtest;

class Batches : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(server.start());
    key = client.made(HKEY_LOCAL_MACHINE, u"Shared");
    others_key = other.made(HKEY_LOCAL_MACHINE, u"Shared");
    ASSERT_NE(others_key, nullptr);
  }
  void restart() {
    server.end_by(SIGKILL);
    ASSERT_TRUE(server.start());
  }
  impl::client::Client_Service& service() { return service_; }
  DWORD commit(std::vector<impl::Batch_Hive>* out = nullptr) {
    std::vector<impl::Batch_Hive> hives;
    const DWORD code = service_.commit_batch(&hives);
    if (out != nullptr) *out = hives;
    return code;
  }
  std::string seen_by_other(std::u16string_view name) { return other.get(others_key, name).data; }

  Temp_Folder folder;
  Test_Server server{folder.path()};

 private:
  impl::client::Client_Service& service_ = new_service(settings_for(server.endpoint()));

 protected:
  Client client{service_};
  Client other{new_service(settings_for(server.endpoint()))};
  HKEY key = nullptr;
  HKEY others_key = nullptr;
};

TEST_F(Batches, AreSeenByTheirThreadAtOnceAndByOthersAfterTheCommit) {
  ASSERT_EQ(service().begin_batch(), 0u);
  ASSERT_EQ(client.set(key, u"v", REG_BINARY, "new"), 0u);
  const HKEY below = client.made(key, u"Below");
  EXPECT_EQ(client.set(below, u"v", REG_BINARY, "below"), 0u);
  EXPECT_EQ(client.get(key, u"v").data, "new");
  std::thread([&] { EXPECT_EQ(client.get(key, u"v").code, 2u); }).join();
  EXPECT_EQ(seen_by_other(u"v"), "");
  std::vector<impl::Batch_Hive> hives;
  EXPECT_EQ(commit(&hives), 0u);
  ASSERT_EQ(hives.size(), 1u);
  EXPECT_EQ(hives[0].root, HKEY_LOCAL_MACHINE);
  EXPECT_EQ(hives[0].file, folder.path() + "/hklm.hive");
  EXPECT_EQ(hives[0].code, 0u);
  EXPECT_EQ(seen_by_other(u"v"), "new");
  EXPECT_EQ(client.get(below, u"v").data, "below");
}

TEST_F(Batches, ThatAreAbandonedLeaveNothing) {
  ASSERT_EQ(service().begin_batch(), 0u);
  ASSERT_EQ(client.set(key, u"v", REG_BINARY, "new"), 0u);
  const HKEY below = client.made(key, u"Below");
  EXPECT_EQ(service().abandon_batch(), 0u);
  EXPECT_EQ(client.get(key, u"v").code, 2u);
  EXPECT_EQ(client.get(below, u"v").code, 1018u);
  EXPECT_EQ(client.set(key, u"v", REG_BINARY, "later"), 0u);
}

TEST_F(Batches, AreOneAThreadAndTheirEndsNeedOne) {
  EXPECT_EQ(commit(), 6701u);
  EXPECT_EQ(service().abandon_batch(), 6701u);
  ASSERT_EQ(service().begin_batch(), 0u);
  EXPECT_EQ(service().begin_batch(), 6702u);
  std::thread([&] {
    EXPECT_EQ(commit(), 6701u);
    EXPECT_EQ(service().begin_batch(), 0u);
    EXPECT_EQ(service().abandon_batch(), 0u);
  }).join();
  std::vector<impl::Batch_Hive> hives;
  EXPECT_EQ(commit(&hives), 0u);
  EXPECT_TRUE(hives.empty());
}

TEST_F(Batches, TakeNoWatchesAndNoImages) {
  ASSERT_EQ(service().begin_batch(), 0u);
  const HANDLE event = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  std::vector<BYTE> image;
  EXPECT_EQ(service().watch_key(key, false, REG_NOTIFY_CHANGE_NAME, event), 6702u);
  EXPECT_EQ(service().user_image(&image), 6702u);
  EXPECT_EQ(service().abandon_batch(), 0u);
  EXPECT_EQ(service().watch_key(key, false, REG_NOTIFY_CHANGE_NAME, event), 0u);
  service().close_key(key);
  EXPECT_EQ(WaitForSingleObject(event, 60'000), 0u);
  CloseHandle(event);
}

TEST_F(Batches, TellOfBothHives) {
  ASSERT_EQ(service().begin_batch(), 0u);
  ASSERT_EQ(client.set(HKEY_CURRENT_USER, u"v", REG_BINARY, "user"), 0u);
  ASSERT_EQ(client.set(key, u"v", REG_BINARY, "machine"), 0u);
  std::vector<impl::Batch_Hive> hives;
  EXPECT_EQ(commit(&hives), 0u);
  ASSERT_EQ(hives.size(), 2u);
  EXPECT_EQ(hives[0].root, HKEY_CURRENT_USER);
  EXPECT_EQ(hives[1].root, HKEY_LOCAL_MACHINE);
}

TEST_F(Batches, OfAThreadThatEndsAreAbandoned) {
  std::thread([&] {
    EXPECT_EQ(service().begin_batch(), 0u);
    EXPECT_EQ(client.set(key, u"v", REG_BINARY, "lost"), 0u);
  }).join();
  EXPECT_EQ(other.set(others_key, u"w", REG_BINARY, "x"), 0u);
  EXPECT_EQ(seen_by_other(u"v"), "");
}

TEST_F(Batches, OfAKilledProcessAreAbandoned) {
  detail::Pipe has_written;
  fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    const Client its{new_service(settings_for(server.endpoint()))};
    const HKEY its_key = its.made(HKEY_LOCAL_MACHINE, u"Shared");
    const bool good = its.service.begin_batch() == 0 && its.set(its_key, u"v", REG_BINARY, "lost") == 0;
    [[maybe_unused]] const ssize_t said = write(has_written.write_end, good ? "y" : "n", 1);
    pause();
    _exit(1);
  }
  char word = 0;
  EXPECT_EQ(read(has_written.read_end, &word, 1), 1);
  EXPECT_EQ(word, 'y');
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  EXPECT_EQ(other.set(others_key, u"w", REG_BINARY, "x"), 0u);
  EXPECT_EQ(seen_by_other(u"v"), "");
}

TEST_F(Batches, OfAServerThatIsKilledAreLostUntilTheirEnd) {
  ASSERT_EQ(service().begin_batch(), 0u);
  ASSERT_EQ(client.set(key, u"v", REG_BINARY, "lost"), 0u);
  restart();
  EXPECT_EQ(client.set(key, u"w", REG_BINARY, "late"), 6704u);
  HKEY made = nullptr;
  bool is_created = false;
  EXPECT_EQ(service().create_key(key, u"Below", {u"", 0, KEY_ALL_ACCESS}, &made, &is_created), 6704u);
  EXPECT_EQ(service().delete_key(HKEY_LOCAL_MACHINE, u"Shared"), 6704u);
  EXPECT_EQ(client.get(key, u"v").code, 2u);
  EXPECT_EQ(commit(), 6704u);
  EXPECT_EQ(client.get(key, u"w").code, 2u);
  ASSERT_EQ(service().begin_batch(), 0u);
  EXPECT_EQ(client.set(key, u"v", REG_BINARY, "next"), 0u);
  EXPECT_EQ(commit(), 0u);
  EXPECT_EQ(seen_by_other(u"v"), "next");
}

TEST_F(Batches, ThatTheServerHasLostBeforeTheCommitAnswerSo) {
  ASSERT_EQ(service().begin_batch(), 0u);
  ASSERT_EQ(client.set(key, u"v", REG_BINARY, "lost"), 0u);
  restart();
  EXPECT_EQ(commit(), 6704u);
  ASSERT_EQ(service().begin_batch(), 0u);
  ASSERT_EQ(client.set(key, u"v", REG_BINARY, "lost"), 0u);
  restart();
  EXPECT_EQ(service().abandon_batch(), 0u);
  EXPECT_EQ(client.get(key, u"v").code, 2u);
}

TEST_F(Batches, ContinueInAProcessThatForksAndAreNotInTheChild) {
  const auto result = run_child([&] {
    const Client its{new_service(settings_for(server.endpoint()))};
    const HKEY its_key = its.made(HKEY_LOCAL_MACHINE, u"Shared");
    if (its.service.begin_batch() != 0 || its.set(its_key, u"v", REG_BINARY, "parent") != 0) _exit(1);
    const pid_t child = fork();
    std::vector<impl::Batch_Hive> hives;
    if (child == 0) {
      _exit(its.service.commit_batch(&hives) == 6701 && its.get(its_key, u"v").code == 2 &&
                    its.service.begin_batch() == 0 && its.service.abandon_batch() == 0
                ? 0
                : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (status != 0) _exit(2);
    _exit(its.service.commit_batch(&hives) == 0 ? 0 : 3);
  });
  EXPECT_EQ(result.exit_status, 0) << result.err;
  EXPECT_EQ(seen_by_other(u"v"), "parent");
}

}  // namespace
