// The page of change numbers, what raises them, and the question which keys changed.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>
#include <winerror.h>

#include <chrono>
#include <thread>

#include "impl/wire/change_page.h"
#include "impl/wire/sealed_memory.h"
#include "tests/server/served.h"

namespace {

using namespace servertest;

const wire::Number machine = number(HKEY_LOCAL_MACHINE);
const wire::Number users = number(HKEY_USERS);

class Page {
 public:
  explicit Page(int fd) {
    void* const address = mmap(nullptr, sizeof(wire::Change_Page), PROT_READ, MAP_SHARED, fd, 0);
    if (address != MAP_FAILED) page_ = static_cast<const wire::Change_Page*>(address);
  }
  ~Page() {
    if (page_ != nullptr) munmap(const_cast<wire::Change_Page*>(page_), sizeof *page_);
  }
  Page(const Page&) = delete;
  Page& operator=(const Page&) = delete;

  const wire::Change_Page* operator->() const { return page_; }
  bool is_held() const {
    return wire::is_held(__atomic_load_n(reinterpret_cast<const std::uint32_t*>(&page_->owner), 0));
  }
  // Of the first hive.
  std::uint64_t number() const { return page_->hives[0].number; }

 private:
  const wire::Change_Page* page_ = nullptr;
};

class Change_Numbers : public testing::Test {
 protected:
  void SetUp() override {
    begun = client.begin();
    ASSERT_EQ(begun->code, 0u);
    ASSERT_GE(begun->page.fd, 0);
    page = std::make_unique<Page>(begun->page.fd);
    key = create(client, machine, u"Counted")->handle;
    ASSERT_EQ(set(client, key, u"v", "1"), 0u);
    ASSERT_NE(change(), 0u);  // the hive is on the page from the first read on
  }
  std::uint64_t change() { return query(client, key, u"v")->change; }
  // Whether something raised the number to another even one.
  bool rises_by(const std::function<void()>& something) {
    const std::uint64_t before = page->number();
    something();
    const std::uint64_t after = page->number();
    return after > before && before % 2 == 0 && after % 2 == 0;
  }
  std::vector<int> changed_since(std::uint64_t number, wire::Numbers keys) {
    const auto answer = client.ask<wire::Changed_Since>({.keys = std::move(keys), .change = number});
    EXPECT_EQ(answer.error, "");
    last_change = answer->change;
    return {answer->changed.begin(), answer->changed.end()};
  }

  Served served;
  Client client{served.address()};
  Answered<wire::Begin_Session> begun;
  std::unique_ptr<Page> page;
  wire::Number key = 0;
  std::uint64_t last_change = 0;
};

TEST_F(Change_Numbers, StandOnAPageThatNobodyElseCanWrite) {
  const int fd = begun->page.fd;
  constexpr int seals = F_SEAL_FUTURE_WRITE | F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL;
  EXPECT_EQ(fcntl(fd, F_GET_SEALS), seals);
  EXPECT_EQ(fcntl(fd, F_GETFL) & O_ACCMODE, O_RDONLY);
  EXPECT_EQ(mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0), MAP_FAILED);
  const std::string again = "/proc/self/fd/" + std::to_string(fd);
  const wire::Unique_Fd writable(open(again.c_str(), O_RDWR | O_CLOEXEC));
  if (writable) {
    EXPECT_EQ(mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED, writable.get(), 0), MAP_FAILED);
    EXPECT_LT(write(writable.get(), "x", 1), 0);
    EXPECT_NE(ftruncate(writable.get(), 0), 0);
  }
  EXPECT_EQ(std::string(reinterpret_cast<const char*>((*page)->mark), 4), "KVCP");
  EXPECT_EQ((*page)->layout, 1u);
  EXPECT_TRUE(page->is_held());
}

TEST_F(Change_Numbers, AreOfTheHiveThatAKeysIdNames) {
  const auto opened = open(client, machine, u"Counted");
  ASSERT_EQ((*page)->hive_count, 1u);
  EXPECT_EQ(memcmp((*page)->hives[0].hive, opened->id.data(), 16), 0);
  create(client, number(HKEY_CURRENT_USER), u"Mine");
  const auto mine = open(client, number(HKEY_CURRENT_USER), u"Mine", KEY_ALL_ACCESS);
  EXPECT_NE(query(client, mine->handle, u"none")->change, 0u);
  ASSERT_EQ((*page)->hive_count, 2u);
  EXPECT_EQ(memcmp((*page)->hives[1].hive, mine->id.data(), 16), 0);
  const std::uint64_t before = page->number();
  EXPECT_EQ(set(client, mine->handle, u"v", "1"), 0u);
  EXPECT_EQ(page->number(), before);
}

TEST_F(Change_Numbers, ComeWithTheAnswersThatMayBeKept) {
  const std::uint64_t now = page->number();
  EXPECT_EQ(change(), now);
  EXPECT_EQ(query(client, key, u"none")->code, 2u);
  EXPECT_EQ(query(client, key, u"none")->change, now);
  EXPECT_EQ(client.ask<wire::Query_Info>({.key = key})->change, now);
  EXPECT_EQ(client.ask<wire::Enumerate_Values>({.key = key, .most = 9, .room = 9})->change, now);
  EXPECT_EQ(client.ask<wire::Enumerate_Values>({.key = key, .index = 1, .most = 9})->change, now);  // 259
  EXPECT_EQ(client.ask<wire::Enumerate_Keys>({.key = key, .most = 9})->change, now);
  EXPECT_EQ(query(client, machine, u"none")->change, 0u);
}

TEST_F(Change_Numbers, RiseWithEveryChange) {
  create(client, key, u"below");
  const wire::Number mode = 0700;
  EXPECT_TRUE(rises_by([&] { set(client, key, u"v", "2"); }));
  EXPECT_TRUE(rises_by([&] { client.ask<wire::Delete_Value>({.key = key, .name = text(u"v")}); }));
  EXPECT_TRUE(rises_by([&] { create(client, key, u"new\\deep"); }));
  EXPECT_TRUE(rises_by([&] { remove_key(client, key, u"new\\deep"); }));
  EXPECT_TRUE(
      rises_by([&] { client.ask<wire::Rename_Key>({.key = key, .path = text(u"new"), .new_name = text(u"other")}); }));
  EXPECT_TRUE(rises_by([&] { client.ask<wire::Change_Rights>({.key = key, .path = {}, .which = 1, .mode = mode}); }));
  if (geteuid() == 0) {  // who alone gives keys away
    EXPECT_TRUE(rises_by([&] { client.ask<wire::Change_Rights>({.key = key, .path = {}, .which = 2, .owner = 7}); }));
    EXPECT_TRUE(rises_by([&] { client.ask<wire::Change_Rights>({.key = key, .path = {}, .which = 4, .group = 7}); }));
  }
  EXPECT_FALSE(rises_by([&] { query(client, key, u"v"); }));
  EXPECT_FALSE(rises_by([&] { open(client, key, u"below"); }));
}

TEST_F(Change_Numbers, RiseWithLoadingAndUnloading) {
  const auto saved = client.ask<wire::Save_Key>({.key = key});
  ASSERT_EQ(saved->code, 0u);
  std::string hive(static_cast<std::size_t>(lseek(saved->hive.fd, 0, SEEK_END)), '\0');
  ASSERT_EQ(pread(saved->hive.fd, hive.data(), hive.size(), 0), static_cast<ssize_t>(hive.size()));
  const wire::Unique_Fd sealed = wire::seal(bytes(hive));
  EXPECT_TRUE(rises_by([&] {
    EXPECT_EQ(client.ask<wire::Load_Key>({.key = machine, .path = text(u"Loaded"), .hive = {sealed.get()}})->code, 0u);
  }));
  const std::uint64_t before = page->number();
  EXPECT_TRUE(
      rises_by([&] { EXPECT_EQ(client.ask<wire::Unload_Key>({.key = machine, .path = text(u"Loaded")})->code, 0u); }));
  EXPECT_EQ(changed_since(before, {key}), (std::vector<int>{1}));
}

TEST_F(Change_Numbers, RiseWithWhatAnotherProcessWritesIntoTheHive) {
  const std::uint64_t before = change();
  const pid_t other = fork();
  if (other == 0) {
    hive::Registry registry(std::make_unique<Test_Locations>(served.folder(), true), [](const std::string&) {});
    hive::Key root, there;
    const bool done =
        registry.open_root(hive::Root::machine, &root) == hive::Status::ok &&
        registry.open(root, u"Counted", &there) == hive::Status::ok &&
        registry.write_value(there, u"v", 3, reinterpret_cast<const unsigned char*>("foreign"), 7) == hive::Status::ok;
    _exit(done ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(other, &status, 0), other);
  ASSERT_EQ(status, 0);
  // The server looks by itself, also when nobody asks it.
  const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (page->number() == before && std::chrono::steady_clock::now() < give_up) std::this_thread::yield();
  EXPECT_GT(page->number(), before);
  EXPECT_EQ(changed_since(before, {key}), (std::vector<int>{1}));
  EXPECT_EQ(string_of(query(client, key, u"v")->data), "foreign");
}

TEST_F(Change_Numbers, TellWhichKeysChanged) {
  const wire::Number other = create(client, machine, u"Other")->handle;
  const wire::Number again = open(client, machine, u"Counted", KEY_ALL_ACCESS)->handle;
  const std::uint64_t before = change();
  set(client, key, u"v", "2");
  EXPECT_EQ(changed_since(before, {key, other, again, 12345, machine}), (std::vector<int>{1, 0, 1, 1, 1}));
  EXPECT_EQ(last_change, page->number());
  EXPECT_EQ(changed_since(last_change, {key, other}), (std::vector<int>{0, 0}));
  create(client, other, u"new");
  EXPECT_EQ(changed_since(before, {other}), (std::vector<int>{0}));
  client.ask<wire::Delete_Value>({.key = other, .name = text(u"none")});
  EXPECT_EQ(changed_since(before, {other}), (std::vector<int>{1}));
}

TEST_F(Change_Numbers, TellThatARemovedKeyChanged) {
  const wire::Number gone = create(client, machine, u"Gone")->handle;
  const std::uint64_t before = change();
  ASSERT_EQ(remove_key(client, machine, u"Gone"), 0u);
  EXPECT_EQ(changed_since(before, {key, gone}), (std::vector<int>{0, 1}));
}

TEST_F(Change_Numbers, ThatAreTooOldTellNothing) {
  const wire::Number other = create(client, machine, u"Other")->handle;
  const std::uint64_t before = change();
  EXPECT_EQ(changed_since(1, {other}), (std::vector<int>{1}));
  EXPECT_EQ(last_change, 0u);
  for (int i = 0; i < 2048; ++i) client.send<wire::Set_Value>({.key = key, .name = text(u"v"), .type = 3});
  for (int i = 0; i < 2048; ++i) ASSERT_NE(client.receive(), nullptr);
  EXPECT_EQ(changed_since(before, {other}), (std::vector<int>{0}));
  set(client, key, u"v", "last");
  EXPECT_EQ(changed_since(before, {other}), (std::vector<int>{1}));
  EXPECT_EQ(last_change, 0u);
}

TEST_F(Change_Numbers, OfTheUsersHiveRiseAlsoThroughHkeyUsers) {
  create(client, number(HKEY_CURRENT_USER), u"Mine");
  const wire::Number mine = open(client, number(HKEY_CURRENT_USER), u"Mine")->handle;
  query(client, mine, u"none");
  const std::uint64_t before = (*page)->hives[1].number;
  const auto user = client.ask<wire::Enumerate_Keys>({.key = users, .most = 100});
  ASSERT_FALSE(user->keys.empty());
  create(client, users, units_of(user->keys.back().name) + u"\\Yours");
  EXPECT_GT((*page)->hives[1].number, before);
}

TEST_F(Change_Numbers, MeanNothingFromTheServersEndOn) {
  EXPECT_TRUE(page->is_held());
  served.kill();
  EXPECT_FALSE(page->is_held());
  served.start();
  Client next(served.address());
  const auto next_begun = next.begin();
  const Page next_page(next_begun->page.fd);
  EXPECT_TRUE(next_page.is_held());
  EXPECT_NE(memcmp(next_page->server, (*page)->server, sizeof next_page->server), 0);
  served.stop();
  EXPECT_FALSE(next_page.is_held());
}

TEST_F(Change_Numbers, AreNotShownToAClientThatTakesNoDescriptors) {
  Client plain(connect_to(served.address()), false);
  const auto plain_begun = plain.begin();
  EXPECT_EQ(plain_begun.error, "");
  EXPECT_EQ(plain_begun->code, 0u);
  EXPECT_LT(plain_begun->page.fd, 0);
  EXPECT_EQ(open(plain, machine, u"Counted")->code, 0u);
}

TEST_F(Change_Numbers, AListOfSeveralLeavesThePlaceOfTheHandleAlone) {
  for (const auto* name : {u"a", u"b", u"c", u"d"}) set(client, key, name, "x");
  const auto name_at = [&](wire::Number index) {
    const auto one = client.ask<wire::Enumerate_Values>({.key = key, .index = index, .most = 1});
    return one->values.empty() ? std::u16string() : units_of(one->values[0].name);
  };
  ASSERT_EQ(name_at(0), u"a");
  ASSERT_EQ(name_at(1), u"b");
  client.ask<wire::Enumerate_Values>({.key = key, .index = 0, .most = 100});
  client.ask<wire::Delete_Value>({.key = key, .name = text(u"b")});
  EXPECT_EQ(name_at(2), u"c");  // goes on behind the one that was removed
}

}  // namespace
