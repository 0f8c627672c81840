// Notifications between processes: who is told what, and how often.
#include "tests/impl/notifying.h"

namespace {

using namespace kvtest;

TEST_F(Notifying, TellsWhoHasAsked) {
  Side_Process target(reporter());
  Side_Process first(asker(target.pid())), second(asker(target.pid()));
  EXPECT_EQ(tell(first, "a"), '1');
  EXPECT_EQ(tell(second, "a"), '1');
  EXPECT_EQ(tell(target, "rx"), '1');
  EXPECT_EQ(heard(first), "1x");
  EXPECT_EQ(heard(second), "1x");
}

TEST_F(Notifying, AnswersARequestOnce) {
  Side_Process target(reporter());
  Side_Process other(asker(target.pid()));
  EXPECT_EQ(tell(other, "a"), '1');
  EXPECT_EQ(tell(target, "r1"), '1');
  EXPECT_EQ(tell(target, "r2"), '1');
  EXPECT_EQ(heard(other), "11");
  EXPECT_EQ(tell(other, "a"), '1');
  EXPECT_EQ(tell(target, "r3"), '1');
  EXPECT_EQ(heard(other), "13");
}

TEST_F(Notifying, TakesTwoRequestsBeforeTheAnswerForOne) {
  Side_Process target(reporter());
  Side_Process other(asker(target.pid()));
  EXPECT_EQ(tell(other, "a"), '1');
  EXPECT_EQ(tell(other, "a"), '1');
  EXPECT_EQ(tell(target, "r1"), '1');
  EXPECT_EQ(tell(target, "r2"), '1');
  EXPECT_EQ(heard(other), "11");
  EXPECT_EQ(tell(other, "a"), '1');
  EXPECT_EQ(tell(target, "r3"), '1');
  EXPECT_EQ(heard(other), "13");
}

TEST_F(Notifying, KeepsTheKindsApart) {
  Side_Process target(reporter());
  Side_Process other(asker(target.pid()));
  EXPECT_EQ(tell(other, "a"), '1');
  EXPECT_EQ(tell(target, "R1"), '1');
  EXPECT_EQ(tell(target, "r2"), '1');
  EXPECT_EQ(heard(other), "12");
  EXPECT_EQ(tell(other, "A"), '1');
  EXPECT_EQ(tell(target, "r3"), '1');
  EXPECT_EQ(tell(target, "R4"), '1');
  EXPECT_EQ(heard(other), "04");
}

TEST_F(Notifying, ForgetsARequestThatWasTakenBack) {
  Side_Process target(reporter());
  Side_Process other(asker(target.pid()));
  EXPECT_EQ(tell(other, "w"), '1');
  EXPECT_EQ(tell(other, "a"), '1');
  EXPECT_EQ(tell(other, "w"), '1');
  EXPECT_EQ(tell(target, "r1"), '1');
  EXPECT_EQ(tell(other, "a"), '1');
  EXPECT_EQ(tell(target, "r2"), '1');
  EXPECT_EQ(heard(other), "12");
}

TEST_F(Notifying, AnswersAtOnceWhatIsAlwaysReported) {
  Side_Process target(reporter());
  Side_Process other(asker(target.pid()));
  EXPECT_EQ(tell(other, "a"), '1');
  EXPECT_EQ(tell(target, "s"), '1');
  EXPECT_EQ(heard(other), "1.");
  other.say('a');
  std::string answer;
  for (int i = 0; i < 3; ++i) answer += other.hear();  // the entry's answer and the notification, in either order
  EXPECT_TRUE(answer == "11." || answer == "1.1") << answer;
  EXPECT_EQ(tell(target, "S"), '1');
  EXPECT_EQ(tell(other, "a"), '1');
  EXPECT_EQ(tell(target, "r2"), '1');
  EXPECT_EQ(heard(other), "12");
}

TEST_F(Notifying, HandsOnEveryByte) {
  Side_Process target(with_library([](const Talk& talk) {
    std::string data(3 * 1024 * 1024, 'd');
    for (std::size_t i = 0; i < data.size(); ++i) data[i] = static_cast<char>(i * 7);
    for (const std::string& each : {data, std::string("\0x", 2), std::string()}) {
      talk.hear();
      talk.say(static_cast<char>('0' + report(0, each)));
    }
    talk.hear();
    return 0;
  }));
  Side_Process other(with_library([pid = target.pid()](const Talk& talk) {
    Saying_Handler handler(talk);
    KvRegisterNotificationHandler(0, &handler);
    for (int i = 0; i < 3; ++i) {
      talk.say(static_cast<char>('0' + ask(pid, 0)));
      talk.hear();
      bool good = handler.last_pid == pid && handler.was_null == (i == 2);
      if (i == 1) good = good && handler.last_data == std::string("\0x", 2);
      if (i == 2) good = good && handler.last_data.empty();
      if (i == 0) good = good && handler.last_data.size() == 3 * 1024 * 1024;
      for (std::size_t at = 0; i == 0 && good && at < handler.last_data.size(); ++at) {
        good = handler.last_data[at] == static_cast<char>(at * 7);
      }
      talk.say(good ? 'g' : 'b');
    }
    _exit(0);
    return 0;
  }));
  for (const char* first : {"0", "0", "0"}) {
    EXPECT_EQ(other.hear(), '1');
    EXPECT_EQ(tell(target, "n"), '1');
    EXPECT_EQ(other.hear(), first[0]);
    other.hear();
    EXPECT_EQ(tell(other, "c"), 'g');
  }
}

// Reports from inside the handler what it got, like one who passes the word on.
class Echoing_Handler : public NotifOp {
 public:
  explicit Echoing_Handler(const Talk& talk) : talk_(talk) {}

  int operator()(int, int kind, char* data, int) override {
    const std::string word(1, data == nullptr ? '.' : data[0]);
    if (again) ask(getpid(), kind);
    report(kind, "e");
    talk_.say(word[0]);
    return 0;
  }

  bool again = false;

 private:
  Talk talk_;
};

TEST_F(Notifying, TellsAProcessWhatItReportsItselfButNotFromInsideAHandler) {
  Side_Process own(with_library([](const Talk& talk) {
    Echoing_Handler handler(talk);
    handler.again = true;
    KvRegisterNotificationHandler(1, &handler);
    ask(getpid(), 1);
    for (char word = talk.hear(); word != 'x'; word = talk.hear()) report(1, std::string(1, word));
    _exit(0);
    return 0;
  }));
  own.say('1');
  EXPECT_EQ(own.hear(), '1');
  own.say('2');
  EXPECT_EQ(own.hear(), '2');
  own.say('3');
  EXPECT_EQ(own.hear(), '3');
  own.say('x');
  own.status();
}

// Each asks the other, and each handler reports: the talk must come to an end.
TEST_F(Notifying, LetsTwoProcessesThatWaitForEachOtherEnd) {
  const auto side = [this] {
    return with_library([](const Talk& talk) {
      Echoing_Handler handler(talk);
      KvRegisterNotificationHandler(0, &handler);
      pid_t other = 0;
      for (int shift = 0; shift < 32; shift += 8) other |= static_cast<unsigned char>(talk.hear()) << shift;
      for (char word = talk.hear(); word != 'x'; word = talk.hear()) {
        if (word == 'a') talk.say(static_cast<char>('A' + ask(other, 0)));
        if (word == 'r') report(0, "r");
        if (word == 's') report(0, "s");
      }
      _exit(0);
      return 0;
    });
  };
  Side_Process first(side()), second(side());
  for (int shift = 0; shift < 32; shift += 8) {
    first.say(static_cast<char>(second.pid() >> shift));
    second.say(static_cast<char>(first.pid() >> shift));
  }
  EXPECT_EQ(tell(first, "a"), 'B');
  EXPECT_EQ(tell(second, "a"), 'B');
  first.say('r');
  EXPECT_EQ(second.hear(), 'r');
  EXPECT_EQ(first.hear(), 'e');
  // Had it gone on, more echoes would come before the next words.
  EXPECT_EQ(tell(first, "a"), 'B');
  second.say('s');
  EXPECT_EQ(first.hear(), 's');
  EXPECT_EQ(tell(second, "a"), 'B');
  first.say('s');
  EXPECT_EQ(second.hear(), 's');
}

TEST_F(Notifying, RefusesWhatCannotBe) {
  Side_Process process(with_library([](const Talk&) {
    char data[] = "d";
    for (int kind : {-1, 2, 1000000}) {
      if (ask(getppid(), kind) != 0 || report(kind, "d") != 0) return 1;
      if (entries().KvIAutoReportNotification(kind, 1) != 0) return 2;
    }
    for (int pid : {0, -1, 0x7FFFFFFF}) {
      if (ask(pid, 0) != 0 || ask(pid, 0, 0) != 0) return 3;
    }
    if (entries().KvIReportNotification(0, data, -1) != 0) return 4;
    return entries().KvIReportNotification(0, nullptr, 1) == 0 ? 0 : 5;
  }));
  EXPECT_EQ(process.status(), 0);
  EXPECT_EQ(notifications_folder(), "");
}

}  // namespace
