// What a client keeps: asked of a peer that counts its questions and writes the page of change numbers itself.
#include <winnt.h>

#include <mutex>

#include "tests/client/change_page.h"
#include "tests/client/scripted_peer.h"
#include "tests/client/served.h"

namespace {

using namespace kvtest;
namespace wire = impl::wire;
using impl::client::Change_View;

wire::Bytes bytes(std::string_view text) { return {reinterpret_cast<const unsigned char*>(text.data()), text.size()}; }

// A registry of one key after the other, each with the same values; handles are numbers from 1 on.
class Keeping : public testing::Test {
 protected:
  void SetUp() override {
    peer.on_begin = [this](sd_bus_message* question) {
      static constexpr unsigned char id[wire::session_size] = {1, 2, 3};
      wire::Begin_Session::Answer answer;
      answer.session = id;
      answer.page.fd = has_page ? page.fd() : -1;
      return reply_with(question, answer);
    };
  }
  int answer(sd_bus_message* message) {
    const std::lock_guard lock(mutex);
    const std::string member = sd_bus_message_get_member(message);
    asked.push_back(member);
    if (member == "OpenKey") return reply_with(message, wire::Open_Key::Answer{0, ++opened, bytes(id)});
    if (member == "CloseKey") return reply_with(message, wire::Close_Key::Answer{0});
    if (member == "QueryValue") return answer_value(message);
    if (member == "EnumerateValues") return answer_list(message);
    if (member == "ChangedSince") return answer_changed(message);
    return hang_up;
  }
  int answer_value(sd_bus_message* message) {
    wire::Query_Value::Question question;
    wire::read(message, &question);
    const std::u16string name(wire::text_of(question.name));
    if (name == u"missing") return reply_with(message, wire::Query_Value::Answer{2, 0, 0, {}, {}, change});
    const std::string large(4097, 'x');
    const std::string data = name == u"large" ? large : name == u"long" ? "more than eight bytes" : value;
    return reply_with(message,
                      wire::Query_Value::Answer{0, 3, static_cast<wire::Number>(data.size()), bytes(data), {}, change});
  }
  int answer_list(sd_bus_message* message) {
    wire::Enumerate_Values::Answer answer;
    answer.values = {{wire::bytes_of(u"a"), 3, static_cast<wire::Number>(value.size()), bytes(value)},
                     {wire::bytes_of(u"b"), 4, 1, bytes("B")},
                     {wire::bytes_of(u"large"), 3, 4097, {}}};
    answer.change = change;
    return reply_with(message, answer);
  }
  int answer_changed(sd_bus_message* message) {
    wire::Changed_Since::Question question;
    wire::read(message, &question);
    since = question.change;
    std::string changed;
    for (const wire::Number key : question.keys) changed += key == changed_key ? '\1' : '\0';
    return reply_with(message, wire::Changed_Since::Answer{0, bytes(changed), change});
  }

  HKEY open(DWORD access = KEY_READ) {
    HKEY key = nullptr;
    EXPECT_EQ(service().open_key(HKEY_LOCAL_MACHINE, u"k", access, &key), 0u);
    return key;
  }
  Value get(HKEY key, std::u16string_view name, DWORD room = 1 << 16) { return Client{service()}.get(key, name, room); }
  impl::client::Client_Service& service() {
    if (made == nullptr) made = &new_service(settings_for(peer.endpoint()));
    return *made;
  }
  // What was asked since the last call.
  std::vector<std::string> questions() {
    const std::lock_guard lock(mutex);
    return std::exchange(asked, {});
  }

  Temp_Folder folder;
  Test_Page page;
  std::mutex mutex;
  std::vector<std::string> asked;
  std::string id = std::string(16, 'h') + "12345678";
  std::string value = "first";
  std::atomic<std::uint64_t> change = 2;
  std::atomic<bool> has_page = true;
  std::atomic<std::uint64_t> since = 0;
  std::atomic<wire::Number> changed_key = 0;
  wire::Number opened = 0;
  impl::client::Client_Service* made = nullptr;
  Scripted_Peer peer{folder.path(), [this](sd_bus_message* message) { return answer(message); }};
};

using Asked = std::vector<std::string>;

TEST_F(Keeping, AValueIsAskedForOnce) {
  const HKEY key = open();
  questions();
  for (int i = 0; i < 3; ++i) EXPECT_EQ(get(key, u"a"), (Value{0, 3, "first"}));
  EXPECT_EQ(get(key, u"A"), (Value{0, 3, "first"}));
  EXPECT_EQ(questions(), (Asked{"QueryValue"}));
}

TEST_F(Keeping, SizesAndRoomsAreAnsweredFromMemoryToo) {
  const HKEY key = open();
  impl::Value_Room room;
  EXPECT_EQ(service().query_value(key, u"a", room), 0u);
  questions();
  EXPECT_EQ(get(key, u"a", 4).code, 234u);
  EXPECT_EQ(get(key, u"a", 5), (Value{0, 3, "first"}));
  room = {};
  EXPECT_EQ(service().query_value(key, u"a", room), 0u);
  EXPECT_EQ(room.size, 5u);
  EXPECT_EQ(room.type, 3u);
  EXPECT_EQ(questions(), Asked{});
}

TEST_F(Keeping, ThatThereIsNoSuchValueIsKept) {
  const HKEY key = open();
  questions();
  for (int i = 0; i < 3; ++i) EXPECT_EQ(get(key, u"missing").code, 2u);
  EXPECT_EQ(questions(), (Asked{"QueryValue"}));
}

TEST_F(Keeping, ASecondValueBringsAllOfThem) {
  const HKEY key = open();
  questions();
  get(key, u"a");
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(get(key, u"b"), (Value{0, 4, "B"}));
    EXPECT_EQ(get(key, u"a"), (Value{0, 3, "first"}));
    EXPECT_EQ(get(key, u"none at all").code, 2u);
  }
  EXPECT_EQ(questions(), (Asked{"QueryValue", "EnumerateValues"}));
}

TEST_F(Keeping, LargeValuesAreNotKept) {
  const HKEY key = open();
  questions();
  for (int i = 0; i < 2; ++i) EXPECT_EQ(get(key, u"large").data.size(), 4097u);
  EXPECT_EQ(questions(), (Asked{"QueryValue", "QueryValue"}));
  get(key, u"a");
  get(key, u"b");
  questions();
  EXPECT_EQ(get(key, u"large").data.size(), 4097u);
  EXPECT_EQ(get(key, u"large", 10).code, 234u);  // its size is known
  EXPECT_EQ(get(key, u"b").data, "B");           // all the others still are
  EXPECT_EQ(questions(), (Asked{"QueryValue"}));
}

TEST_F(Keeping, DataThatDoesNotLieInTheEntryComesBackWhole) {
  const HKEY key = open();
  for (int i = 0; i < 2; ++i) EXPECT_EQ(get(key, u"long").data, "more than eight bytes");
}

TEST_F(Keeping, AnotherNumberEndsWhatWasKept) {
  const HKEY key = open();
  get(key, u"a");
  questions();
  value = "next";
  change = 4;
  page.set_number(3);
  EXPECT_EQ(get(key, u"a").data, "next");
  page.set_number(4);
  EXPECT_EQ(get(key, u"a").data, "next");
  EXPECT_EQ(questions(), (Asked{"QueryValue"}));
}

TEST_F(Keeping, AnAnswerWithoutANumberIsNotKept) {
  const HKEY key = open();
  change = 0;
  questions();
  for (int i = 0; i < 2; ++i) get(key, u"a");
  EXPECT_EQ(questions(), (Asked{"QueryValue", "QueryValue"}));
}

TEST_F(Keeping, AServerThatEndedAnswersNothingFromMemory) {
  const HKEY key = open();
  get(key, u"a");
  questions();
  page->owner = 4711u | FUTEX_OWNER_DIED;
  for (int i = 0; i < 2; ++i) EXPECT_EQ(get(key, u"a").code, 0u);
  EXPECT_EQ(questions(), (Asked{"QueryValue", "QueryValue"}));
}

TEST_F(Keeping, WithoutAPageNothingIsKept) {
  has_page = false;
  const HKEY key = open();
  questions();
  for (int i = 0; i < 2; ++i) EXPECT_EQ(get(key, u"a"), (Value{0, 3, "first"}));
  EXPECT_EQ(questions(), (Asked{"QueryValue", "QueryValue"}));
}

TEST_F(Keeping, AHiveThatIsNotOnThePageIsNotKept) {
  id = std::string(16, 'g') + "12345678";
  const HKEY key = open();
  questions();
  for (int i = 0; i < 2; ++i) get(key, u"a");
  EXPECT_EQ(questions(), (Asked{"QueryValue", "QueryValue"}));
}

TEST_F(Keeping, WhatIsKeptIsForTheHandleThatAsked) {
  const HKEY first = open();
  const HKEY second = open();
  get(first, u"a");
  questions();
  get(second, u"a");
  EXPECT_EQ(questions(), (Asked{"QueryValue"}));
  const HKEY blind = open(KEY_SET_VALUE);
  EXPECT_EQ(get(blind, u"a").code, 5u);
}

TEST_F(Keeping, AClosedHandleIsRefused) {
  const HKEY key = open();
  get(key, u"a");
  EXPECT_EQ(service().close_key(key), 0u);
  EXPECT_EQ(get(key, u"a").code, 6u);
}

TEST_F(Keeping, OneQuestionTellsOfManyKeysWhichChanged) {
  std::vector<HKEY> keys;
  for (int i = 0; i < 5; ++i) {
    keys.push_back(open());
    get(keys.back(), u"a");
  }
  value = "next";
  changed_key = 3;
  change = 4;
  page.set_number(4);
  questions();
  EXPECT_EQ(get(keys[0], u"a").data, "first");
  EXPECT_EQ(since, 2u);
  EXPECT_EQ(get(keys[1], u"a").data, "first");
  EXPECT_EQ(get(keys[4], u"a").data, "first");
  EXPECT_EQ(questions(), (Asked{"ChangedSince"}));
  EXPECT_EQ(get(keys[2], u"a").data, "next");
  EXPECT_EQ(questions(), (Asked{"QueryValue"}));
}

TEST_F(Keeping, AKeyAloneIsAskedForItsValueAtOnce) {
  const HKEY key = open();
  get(key, u"a");
  change = 4;
  page.set_number(4);
  questions();
  get(key, u"a");
  EXPECT_EQ(questions(), (Asked{"QueryValue"}));
}

TEST_F(Keeping, WhatCameFirstGoesFirstWhenThereIsTooMuch) {
  impl::client::Remote_Keys keys;
  impl::client::Kept_Answers kept(3000);
  const auto view = Change_View::of({page.fd()});
  ASSERT_NE(view, nullptr);
  std::vector<HKEY> handles;
  for (int i = 0; i < 4; ++i) {
    handles.push_back(keys.add(std::make_unique<impl::client::Remote_Key>(0, u"k", impl::client::Key_Id(), KEY_READ)));
    auto values = std::make_unique<impl::client::Kept_Values>(impl::client::Kept_Values::Extent::of_all);
    values->add(u"v", 3, 1000, bytes(std::string(1000, 'x')));
    values->finish({view, view->number_of(bytes(id)), 2, impl::client::number_of_user()});
    const impl::client::Remote_Keys::Pin pin(keys, handles.back());
    kept.keep(handles.back(), pin.key(), std::move(values));
  }
  const auto is_known = [&](HKEY handle) {
    impl::Value_Room room;
    return kept.known_value(keys, handle, u"v", room).has_value();
  };
  EXPECT_FALSE(is_known(handles[0]));
  EXPECT_TRUE(is_known(handles[3]));
  for (const HKEY each : handles) EXPECT_TRUE(keys.close(each));
}

TEST(Change_Views, AreOfWholeSealedPagesOfALivingServerOnly) {
  EXPECT_NE(Change_View::of({Test_Page().fd()}), nullptr);
  EXPECT_EQ(Change_View::of({-1}), nullptr);
  EXPECT_EQ(Change_View::of({Test_Page(100).fd()}), nullptr);
  EXPECT_EQ(Change_View::of({Test_Page(4096, 0).fd()}), nullptr);
  EXPECT_EQ(Change_View::of({Test_Page(4096, F_SEAL_SHRINK).fd()}), nullptr);
  EXPECT_EQ(Change_View::of({Test_Page(4096, F_SEAL_GROW | F_SEAL_SEAL).fd()}), nullptr);
  const impl::wire::Unique_Fd no_memory(open("/dev/null", O_RDONLY | O_CLOEXEC));
  EXPECT_EQ(Change_View::of({no_memory.get()}), nullptr);
  Test_Page other;
  other->layout = 2;
  EXPECT_EQ(Change_View::of({other.fd()}), nullptr);
  Test_Page unmarked;
  unmarked->mark[0] = 'X';
  EXPECT_EQ(Change_View::of({unmarked.fd()}), nullptr);
  for (const std::uint32_t owner : {0u, 4711u | FUTEX_OWNER_DIED, unsigned{FUTEX_WAITERS}}) {
    Test_Page dead;
    dead->owner = owner;
    EXPECT_EQ(Change_View::of({dead.fd()}), nullptr) << owner;
  }
}

TEST(Change_Views, FindAHiveAlsoOnAPageThatCountsWrongly) {
  Test_Page page;
  page->hive_count = 4'000'000'000u;
  const auto view = Change_View::of({page.fd()});
  EXPECT_NE(view->number_of(bytes(std::string(24, 'h'))), nullptr);
  EXPECT_EQ(view->number_of(bytes(std::string(24, 'g'))), nullptr);
  EXPECT_EQ(view->number_of(bytes("short")), nullptr);
}

}  // namespace
