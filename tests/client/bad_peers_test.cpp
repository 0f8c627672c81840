// Peers that answer wrongly, late, or not at all: each call ends with a code, and nothing is believed.
#include <fcntl.h>
#include <sys/mman.h>
#include <winbase.h>

#include <chrono>
#include <thread>

#include "tests/client/scripted_peer.h"
#include "tests/client/served.h"

namespace {

using namespace kvtest;
namespace wire = impl::wire;

using std::chrono::milliseconds;

class Bad_Peers : public testing::Test {
 protected:
  impl::client::Client_Service& service_of(const Scripted_Peer& peer) {
    impl::client::Settings settings = settings_for(peer.endpoint());
    settings.search = milliseconds(300);
    settings.single_try = milliseconds(200);
    settings.answer = milliseconds(300);
    return new_service(settings);
  }
  // What a query of a value at a root key says.
  static Value query(impl::client::Client_Service& service, DWORD room = 16) {
    return Client{service}.get(HKEY_LOCAL_MACHINE, u"v", room);
  }
  static wire::Bytes bytes(const std::string& text) {
    return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
  }

  Temp_Folder folder;
};

TEST_F(Bad_Peers, AGoodOneIsUnderstood) {
  Scripted_Peer peer(folder.path(), [](sd_bus_message* question) {
    return reply_with(question, wire::Query_Value::Answer{0, 1, 3, bytes("abc"), {}, 0});
  });
  EXPECT_EQ(query(service_of(peer)), (Value{0, 1, "abc"}));
}

TEST_F(Bad_Peers, DataOfAnotherSizeThanToldIsAWrongAnswer) {
  for (const char* data : {"ab", "abcd", ""}) {
    Scripted_Peer peer(folder.path(), [&](sd_bus_message* question) {
      return reply_with(question, wire::Query_Value::Answer{0, 1, 3, bytes(data), {}, 0});
    });
    EXPECT_EQ(query(service_of(peer)).code, 1728u) << data;
  }
}

TEST_F(Bad_Peers, MoreDataThanThereIsRoomForIsNotTaken) {
  Scripted_Peer peer(folder.path(), [](sd_bus_message* question) {
    return reply_with(question, wire::Query_Value::Answer{0, 1, 17, bytes(std::string(17, 'x')), {}, 0});
  });
  EXPECT_EQ(query(service_of(peer)).code, 234u);
}

TEST_F(Bad_Peers, MemoryThatIsNotSealedIsNotRead) {
  const int fd = memfd_create("test", MFD_CLOEXEC | MFD_ALLOW_SEALING);
  ASSERT_EQ(write(fd, "abc", 3), 3);
  Scripted_Peer peer(folder.path(), [fd](sd_bus_message* question) {
    return reply_with(question, wire::Query_Value::Answer{0, 1, 3, {}, {fd}, 0});
  });
  EXPECT_EQ(query(service_of(peer)).code, 1728u);
  ASSERT_EQ(fcntl(fd, F_ADD_SEALS, F_SEAL_WRITE | F_SEAL_SHRINK | F_SEAL_GROW), 0);
  EXPECT_EQ(query(service_of(peer)), (Value{0, 1, "abc"}));
  close(fd);
}

TEST_F(Bad_Peers, AnAnswerOfAnotherShapeIsAWrongAnswer) {
  Scripted_Peer peer(folder.path(), [](sd_bus_message* question) {
    return sd_bus_reply_method_return(question, "s", "no code") < 0 ? hang_up : 0;
  });
  EXPECT_EQ(query(service_of(peer)).code, 1728u);
  EXPECT_EQ(Client{service_of(peer)}.set(HKEY_LOCAL_MACHINE, u"v", 1, "x"), 1728u);
}

TEST_F(Bad_Peers, AnAnswerThatIsCutOffIsAWrongAnswer) {
  Scripted_Peer peer(folder.path(), [](sd_bus_message* question) {
    return sd_bus_reply_method_return(question, "uuu", 0, 1, 3) < 0 ? hang_up : 0;
  });
  EXPECT_EQ(query(service_of(peer)).code, 1728u);
}

TEST_F(Bad_Peers, ListsWithoutAnEntryAndNamesOfHalfAUnitAreWrongAnswers) {
  bool is_empty = true;
  const std::string odd = "abc";
  const wire::Bytes half_a_unit = bytes(odd);
  Scripted_Peer peer(folder.path(), [&](sd_bus_message* question) {
    wire::Enumerate_Keys::Answer answer;
    if (!is_empty) answer.keys.push_back({half_a_unit, {}, 1});
    return reply_with(question, answer);
  });
  for (const bool each : {true, false}) {
    is_empty = each;
    char16_t name[8];
    impl::Text_Room room{name, 8, 0};
    EXPECT_EQ(service_of(peer).enumerate_key(HKEY_LOCAL_MACHINE, 0, room, nullptr, nullptr), 1728u);
  }
}

TEST_F(Bad_Peers, UnknownErrorsAndLimitsAreTold) {
  const char* error = wire::error_limit;
  Scripted_Peer peer(folder.path(), [&](sd_bus_message* question) {
    return sd_bus_reply_method_errorf(question, error, "no") < 0 ? hang_up : 0;
  });
  impl::client::Client_Service& service = service_of(peer);
  EXPECT_EQ(query(service).code, 1450u);
  error = wire::error_malformed;
  EXPECT_EQ(query(service).code, 1728u);
  error = "org.example.Strange";
  EXPECT_EQ(query(service).code, 1728u);
  error = wire::error_no_session;  // for ever
  EXPECT_EQ(query(service).code, 1722u);
}

TEST_F(Bad_Peers, MessagesThatNobodyAskedForEndTheConnection) {
  Scripted_Peer peer(folder.path(), [](sd_bus_message* question) {
    sd_bus* const bus = sd_bus_message_get_bus(question);
    sd_bus_emit_signal(bus, "/x", "org.example.X", "Signal", "s", "unasked");
    return reply_with(question, wire::Query_Value::Answer{0, 1, 3, bytes("abc"), {}, 0});
  });
  impl::client::Client_Service& service = service_of(peer);
  EXPECT_EQ(query(service).code, 1728u);
  EXPECT_EQ(query(service).code, 1728u);
  EXPECT_EQ(peer.connections(), 2);
}

TEST_F(Bad_Peers, WhoHangsUpAtEveryQuestionIsGivenUp) {
  Scripted_Peer peer(folder.path(), [](sd_bus_message*) { return hang_up; });
  EXPECT_EQ(query(service_of(peer)).code, 1722u);
  EXPECT_EQ(Client{service_of(peer)}.set(HKEY_LOCAL_MACHINE, u"v", 1, "x"), 1722u);
}

TEST_F(Bad_Peers, AQuestionIsAskedAgainWhenTheFirstConnectionBreaks) {
  std::atomic<int> asked = 0;
  Scripted_Peer peer(folder.path(), [&](sd_bus_message* question) {
    if (asked++ == 0) return hang_up;
    return reply_with(question, wire::Query_Value::Answer{0, 1, 3, bytes("abc"), {}, 0});
  });
  EXPECT_EQ(query(service_of(peer)), (Value{0, 1, "abc"}));
  EXPECT_EQ(asked, 2);
}

TEST_F(Bad_Peers, ADeletionThatWasHeardTwiceIsDone) {
  std::atomic<int> asked = 0;
  Scripted_Peer peer(folder.path(), [&](sd_bus_message* question) {
    if (asked++ == 0) return hang_up;
    return reply_with(question, wire::Delete_Value::Answer{2});
  });
  impl::client::Client_Service& service = service_of(peer);
  EXPECT_EQ(service.delete_value(HKEY_LOCAL_MACHINE, u"v"), 0u);
  EXPECT_EQ(service.delete_value(HKEY_LOCAL_MACHINE, u"v"), 2u);
  EXPECT_EQ(asked, 3);
}

// Answers come when four questions wait: no client would be answered with fewer connections, nor has it more.
TEST_F(Bad_Peers, CallsOfManyThreadsTakeTurnsOnFourConnections) {
  std::vector<sd_bus_message*> waiting;  // the peer's thread's
  Scripted_Peer peer(folder.path(), [&](sd_bus_message* question) {
    waiting.push_back(sd_bus_message_ref(question));
    for (; waiting.size() >= 4; waiting.clear()) {
      for (sd_bus_message* const each : waiting) {
        reply_with(each, wire::Query_Value::Answer{0, 1, 3, bytes("abc"), {}, 0});
        sd_bus_message_unref(each);
      }
    }
    return 0;
  });
  impl::client::Client_Service& service = new_service(settings_for(peer.endpoint()));
  std::vector<std::thread> threads;
  std::atomic<int> answered = 0;
  for (int i = 0; i < 12; ++i) {
    threads.emplace_back([&] { answered += query(service) == Value{0, 1, "abc"} ? 1 : 0; });
  }
  for (std::thread& each : threads) each.join();
  EXPECT_EQ(answered, 12);
  EXPECT_EQ(peer.connections(), 4);
}

TEST_F(Bad_Peers, AnEndOfTheServerIsAskedForOnce) {
  std::atomic<int> asked = 0;
  Scripted_Peer peer(folder.path(), [&](sd_bus_message*) {
    ++asked;
    return hang_up;
  });
  EXPECT_EQ(service_of(peer).shut_down(), 0u);
  EXPECT_EQ(asked, 1);
}

TEST_F(Bad_Peers, WhoNeverAnswersIsWaitedForSoLongAndNoLonger) {
  complaints().clear();
  Scripted_Peer peer(folder.path(), [](sd_bus_message*) { return say_nothing; });
  impl::client::Client_Service& service = service_of(peer);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(query(service).code, 1722u);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, milliseconds(300));
  EXPECT_EQ(complaints(), (std::vector<std::string>{"the server at " + peer.endpoint() + " does not answer"}));
}

TEST_F(Bad_Peers, WhoNeverGreetsIsGivenUp) {
  Scripted_Peer peer(
      folder.path(),
      [](int fd) {
        pollfd end{fd, POLLHUP, 0};
        poll(&end, 1, 1000);
      },
      0);
  EXPECT_EQ(query(service_of(peer)).code, 1722u);
}

TEST_F(Bad_Peers, WhoGreetsWithRubbishOrEndsAtOnceIsGivenUp) {
  for (const std::string& greeting : {std::string(), std::string("220 mail ready\r\n"), std::string(70000, '\0'),
                                      std::string("OK nonsense\r\nAGREE_UNIX_FD\r\n\1\2\3\4")}) {
    Scripted_Peer peer(
        folder.path(), [&](int fd) { send(fd, greeting.data(), greeting.size(), MSG_NOSIGNAL); }, 0);
    EXPECT_EQ(query(service_of(peer)).code, 1722u) << greeting.size();
  }
}

TEST_F(Bad_Peers, ASessionThatCannotBeBegunIsToldAsItIs) {
  Scripted_Peer peer(folder.path(), [](sd_bus_message*) { return say_nothing; });
  peer.on_begin = [](sd_bus_message* question) { return reply_with(question, wire::Begin_Session::Answer{5, {}, {}}); };
  EXPECT_EQ(query(service_of(peer)).code, 5u);
  const std::string long_name(4096, 's');
  peer.on_begin = [&](sd_bus_message* question) {
    return reply_with(question, wire::Begin_Session::Answer{5, bytes(long_name), {}});
  };
  EXPECT_EQ(query(service_of(peer)).code, 5u);
  peer.on_begin = [&](sd_bus_message* question) {
    return reply_with(question, wire::Begin_Session::Answer{0, bytes(long_name), {}});
  };
  EXPECT_EQ(query(service_of(peer)).code, 1722u);
  peer.on_begin = [](sd_bus_message* question) { return reply_with(question, wire::Begin_Session::Answer{}); };
  EXPECT_EQ(query(service_of(peer)).code, 1722u);
  peer.on_begin = [](sd_bus_message* question) {
    return sd_bus_reply_method_errorf(question, wire::error_version, "2 only") < 0 ? hang_up : 0;
  };
  EXPECT_EQ(query(service_of(peer)).code, 1722u);
}

TEST_F(Bad_Peers, NoHandleIsGivenOutForAKeyThatWasRefused) {
  Scripted_Peer peer(folder.path(), [](sd_bus_message* question) {
    return reply_with(question, wire::Open_Key::Answer{5, 77, bytes("id")});
  });
  HKEY key = HKEY(0x77);
  EXPECT_EQ(service_of(peer).open_key(HKEY_LOCAL_MACHINE, u"k", KEY_READ, &key), 5u);
  EXPECT_EQ(key, HKEY(0x77));
}

TEST_F(Bad_Peers, AServerThatForgetsHandlesForEverIsGivenUp) {
  Scripted_Peer peer(folder.path(), [](sd_bus_message* question) {
    if (sd_bus_message_is_method_call(question, nullptr, "OpenKey")) {
      return reply_with(question, wire::Open_Key::Answer{0, 77, bytes("id")});
    }
    if (sd_bus_message_is_method_call(question, nullptr, "ReopenKey")) {
      return reply_with(question, wire::Reopen_Key::Answer{0, 78});
    }
    return reply_with(question, wire::Query_Value::Answer{6, 0, 0, {}, {}, 0});
  });
  impl::client::Client_Service& service = service_of(peer);
  HKEY key = nullptr;
  ASSERT_EQ(service.open_key(HKEY_LOCAL_MACHINE, u"k", KEY_READ, &key), 0u);
  EXPECT_EQ(Client{service}.get(key, u"v").code, 1722u);
}

TEST_F(Bad_Peers, BackupsPutNoFileOutsideTheirFolder) {
  const int fd = memfd_create("test", MFD_CLOEXEC);
  std::string name = "../planted";
  Scripted_Peer peer(folder.path(), [&](sd_bus_message* question) {
    wire::Backup::Answer answer;
    answer.files.push_back({bytes(name), {fd}});
    return reply_with(question, answer);
  });
  EXPECT_EQ(service_of(peer).backup((folder / "backup").c_str()), 1728u);
  name = ".hidden";
  EXPECT_EQ(service_of(peer).backup((folder / "backup").c_str()), 1728u);
  EXPECT_FALSE(std::filesystem::exists(folder / "planted"));
  name = "machine.hive";
  EXPECT_EQ(service_of(peer).backup((folder / "backup").c_str()), 0u);
  EXPECT_TRUE(std::filesystem::exists(folder / "backup/machine.hive"));
  close(fd);
}

// A device has no end, and a pipe may keep whoever reads it waiting.
TEST_F(Bad_Peers, HivesThatAreNoFilesAreWrongAnswers) {
  int pipe_ends[2];
  ASSERT_EQ(pipe2(pipe_ends, O_CLOEXEC), 0);
  const int device = open("/dev/zero", O_RDONLY | O_CLOEXEC), a_folder = open("/", O_RDONLY | O_CLOEXEC);
  int sent = -1;
  const std::string name = "machine.hive";
  Scripted_Peer peer(folder.path(), [&](sd_bus_message* question) {
    if (sd_bus_message_is_method_call(question, nullptr, "SaveKey")) {
      return reply_with(question, wire::Save_Key::Answer{0, {sent}});
    }
    if (sd_bus_message_is_method_call(question, nullptr, "UserImage")) {
      return reply_with(question, wire::User_Image::Answer{0, {sent}});
    }
    wire::Backup::Answer answer;
    answer.files.push_back({bytes(name), {sent}});
    return reply_with(question, answer);
  });
  for (const int each : {device, a_folder, pipe_ends[0]}) {
    sent = each;
    std::vector<BYTE> image;
    EXPECT_EQ(service_of(peer).save_key(HKEY_LOCAL_MACHINE, (folder / "saved").c_str()), 1728u);
    EXPECT_FALSE(std::filesystem::exists(folder / "saved"));
    EXPECT_EQ(service_of(peer).user_image(&image), 1728u);
    EXPECT_EQ(service_of(peer).backup((folder / "backup").c_str()), 1728u);
    EXPECT_TRUE(std::filesystem::is_empty(folder / "backup"));
  }
  for (const int each : {device, a_folder, pipe_ends[0], pipe_ends[1]}) close(each);
}

TEST_F(Bad_Peers, PoliciesWithoutASidThatIsOneAreWrongAnswers) {
  std::string sid;
  Scripted_Peer peer(folder.path(), [&](sd_bus_message* question) {
    return reply_with(question, wire::Policy::Answer{0, wire::bytes_of(u"HOST"), bytes(sid)});
  });
  void* record = nullptr;
  for (const char* each : {"\1", "\1\2\0\0\0\0\0\5\1\0\0\0", "\2\1\0\0\0\0\0\5\1\0\0\0"}) {
    sid.assign(each, each[0] == '\1' && each[1] == '\0' ? 1 : 12);
    EXPECT_EQ(service_of(peer).policy(5, &record), 1728u);
    EXPECT_EQ(record, nullptr);
  }
  sid.assign("\1\1\0\0\0\0\0\5\1\0\0\0", 12);
  EXPECT_EQ(service_of(peer).policy(5, &record), 0u);
  EXPECT_NE(record, nullptr);
}

TEST_F(Bad_Peers, AWatchThatIsRefusedIsToldToTheCaller) {
  DWORD code = 6;
  Scripted_Peer peer(folder.path(),
                     [&](sd_bus_message* question) { return reply_with(question, wire::Watch_Key::Answer{code}); });
  EXPECT_EQ(service_of(peer).watch_key(HKEY_LOCAL_MACHINE, false, 1, nullptr), 6u);
  code = 0;  // it has changed already
  EXPECT_EQ(service_of(peer).watch_key(HKEY_LOCAL_MACHINE, false, 1, nullptr), 0u);
}

TEST_F(Bad_Peers, AWatchThatNoServerHeardIsRefused) {
  Scripted_Peer peer(folder.path(), [](sd_bus_message*) { return hang_up; });
  EXPECT_EQ(service_of(peer).watch_key(HKEY_LOCAL_MACHINE, false, 1, nullptr), 1722u);
}

TEST_F(Bad_Peers, AWatchWhoseConnectionBreaksIsTold) {
  auto peer = std::make_unique<Scripted_Peer>(folder.path(), [](sd_bus_message*) { return say_nothing; });
  impl::client::Client_Service& service = service_of(*peer);
  const HANDLE event = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  ASSERT_EQ(service.watch_key(HKEY_LOCAL_MACHINE, false, 1, event), 0u);
  EXPECT_EQ(WaitForSingleObject(event, 0), 258u);
  peer.reset();
  EXPECT_EQ(WaitForSingleObject(event, 60'000), 0u);
  CloseHandle(event);
}

}  // namespace
