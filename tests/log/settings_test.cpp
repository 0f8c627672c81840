// A log's settings, asked of the registry.
#include <gtest/gtest.h>

#include <thread>
#include <utility>

#include "log/registry_log_impl.h"
#include "tests/log/log_test.h"

namespace kvtest {
namespace {

constexpr wchar_t settings_path[] = L"Software\\Test\\log";

// A child with a registry and a log without file; it tells by what it prints.
std::string told(const std::function<void(Settings_Double&, RegistryLogImpl&)>& body) {
  const Child_Result child = run_child([&] {
    Settings_Double settings;
    RegistryLogImpl log(HKEY_LOCAL_MACHINE, settings_path, nullptr);
    body(settings, log);
    fflush(stdout);
    _exit(0);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.err, "");
  return child.out;
}

TEST(SettingsKey, IsCreatedBelowItsRootWithAllAccess) {
  const std::string out = told([](Settings_Double& settings, RegistryLogImpl& log) {
    printf("%d\n", log.OpenKey());
    const kvrecording::Call call = settings.control().calls().at(0);
    const std::u16string path = call["sub_key"].text;
    printf("%s %zx %s %zx %zx\n", call.entry.c_str(), call.raw("key"), std::string(path.begin(), path.end()).c_str(),
           call.raw("options"), call.raw("access"));
    printf("%zu %zu %zu\n", call.raw("reserved"), call.raw("class_name"), call.raw("security"));
  });
  EXPECT_EQ(out, "0\nKvIRegCreateKeyEx 80000002 Software\\Test\\log 0 f003f\n0 0 0\n");
}

TEST(SettingsKey, IsOpenedOnceAndTheValuesAreAskedOfIt) {
  const std::string out = told([](Settings_Double& settings, RegistryLogImpl& log) {
    log.Level();
    log.Level();
    printf("%s\n", settings.calls().c_str());
    const kvrecording::Call call = settings.control().calls().at(1);
    printf("%zx %u\n", call.raw("key"), call["data_size"].count);
  });
  EXPECT_EQ(out, "create;query LogLevel;query LogLevel;\n5151 4\n");
}

TEST(SettingsKey, IsTriedAgainAtEveryQuestionWhenItDidNotOpen) {
  const std::string out = told([](Settings_Double& settings, RegistryLogImpl& log) {
    settings.answer_open(ERROR_ACCESS_DENIED);
    settings.set(u"LogLevel", 7);
    printf("%d %d %d\n", log.OpenKey(), log.Level(), log.Level());
    settings.answer_open(0);
    printf("%d\n", log.Level());
    printf("%s\n", settings.calls().c_str());
  });
  EXPECT_EQ(out, "5 1 1\n7\ncreate;create;create;create;query LogLevel;\n");
}

TEST(SettingsKey, IsKeptByTheFirstOfTwoThreadsThatOpenIt) {
  const std::string out = told([](Settings_Double& settings, RegistryLogImpl& log) {
    bool is_first = true;
    settings.on_open([&] {
      if (std::exchange(is_first, false)) std::thread([&] { log.Level(); }).join();
    });
    log.Level();
    printf("%s\n", settings.calls().c_str());
  });
  EXPECT_EQ(out, "create;create;query LogLevel;close;query LogLevel;\n");
}

TEST(SettingsKey, IsClosedAtTheEndOfTheLog) {
  const std::string out = told([](Settings_Double& settings, RegistryLogImpl& log) {
    log.Level();
    log.End();
    printf("%s\n%zx\n", settings.calls().c_str(), settings.control().calls().back().raw("key"));
  });
  EXPECT_EQ(out, "create;query LogLevel;close;\n5151\n");
}

TEST(SettingsKey, IsLeftAloneOnceTheRegistryIsClosed) {
  const std::string out = told([](Settings_Double& settings, RegistryLogImpl& log) {
    settings.set(u"LogLevel", 7);
    log.Level();
    settings.calls();
    RegUxClose(0, 0);
    printf("%d %d\n", log.Level(), log.Level(3));
    log.Output(1, "message");
    log.End();
    printf("%s\n", settings.calls().c_str());
  });
  EXPECT_EQ(out, "1 0\n" + record(1, "message") + "KvIRegProcessEnding;\n");
}

TEST(LogLevel, IsReadAtEveryRecord) {
  const std::string out = told([](Settings_Double& settings, RegistryLogImpl& log) {
    log.Output(2, "by default");
    settings.set(u"LogLevel", 3);
    log.Output(3, "up to three");
    log.Output(4, "four");
    settings.set(u"LogLevel", 0);
    log.Output(1, "one");
    log.Output(0, "only zero");
    settings.remove(u"LogLevel");
    log.Output(1, "default again");
  });
  EXPECT_EQ(out, record(1, "up to three") + record(2, "only zero") + record(3, "default again"));
}

TEST(LogLevel, IsOneForAValueThatIsNoDword) {
  const std::string out = told([](Settings_Double& settings, RegistryLogImpl& log) {
    for (const DWORD type : {REG_NONE, REG_SZ, REG_BINARY, REG_QWORD}) {
      settings.set(u"LogLevel", type, std::string("\5\0\0\0", 4));
      printf("%d ", log.Level());
    }
    settings.set(u"LogLevel", REG_DWORD, std::string(8, '\5'));
    printf("%d ", log.Level());
    settings.set(u"LogLevel", REG_DWORD, std::string("\5\0\0\0", 4));
    printf("%d\n", log.Level());
  });
  EXPECT_EQ(out, "1 1 1 1 1 5\n");
}

TEST(LogLevel, FallsBackToOneWhenItCanNoLongerBeRead) {
  const std::string out = told([](Settings_Double& settings, RegistryLogImpl& log) {
    settings.set(u"LogLevel", 9);
    printf("%d ", log.Level());
    settings.remove(u"LogLevel");
    printf("%d\n", log.Level());
  });
  EXPECT_EQ(out, "9 1\n");
}

TEST(LogLevel, IsStoredAsADwordInTheOpenKey) {
  const std::string out = told([](Settings_Double& settings, RegistryLogImpl& log) {
    printf("%d ", log.Level(6));
    log.OpenKey();
    printf("%d\n", log.Level(6));
    const kvrecording::Call call = settings.control().calls().back();
    const std::u16string name = call["value_name"].text;
    printf("%s %zx %s %zu\n", call.entry.c_str(), call.raw("key"), std::string(name.begin(), name.end()).c_str(),
           call.raw("type"));
    printf("%d\n", call["data"].bytes == std::string("\6\0\0\0", 4));
    settings.control().script("KvIRegSetValueEx", [](const kvrecording::Call&) { return ERROR_ACCESS_DENIED; });
    printf("%d\n", log.Level(6));
  });
  EXPECT_EQ(out, "0 1\nKvIRegSetValueEx 5151 LogLevel 4\n1\n0\n");
}

TEST(LogLevel, IsNotStoredOnceTheRegistryIsClosed) {
  const std::string out = told([](Settings_Double& settings, RegistryLogImpl& log) {
    log.OpenKey();
    settings.calls();
    KvRegistryClosed = 1;
    printf("%d %s", log.Level(6), settings.calls().c_str());
    fflush(stdout);
    _exit(0);
  });
  EXPECT_EQ(out, "0 ");
}

TEST(LogSizes, AreInKilobytes) {
  const std::string out = told([](Settings_Double& settings, RegistryLogImpl& log) {
    printf("%u %u\n", log.MaxSize(), log.BaseSize());
    settings.set(u"MaxSize", 3);
    settings.set(u"BaseSize", 2);
    printf("%u %u\n", log.MaxSize(), log.BaseSize());
    settings.set(u"MaxSize", 4194305);
    settings.set(u"BaseSize", 4194304);
    printf("%u %u\n", log.MaxSize(), log.BaseSize());
  });
  EXPECT_EQ(out, "10485760 1048576\n3072 2048\n1024 0\n");
}

TEST(LogSizes, KeepTheLastValueThatWasRead) {
  const std::string out = told([](Settings_Double& settings, RegistryLogImpl& log) {
    settings.set(u"MaxSize", 3);
    settings.set(u"BaseSize", 2);
    printf("%u %u\n", log.MaxSize(), log.BaseSize());
    settings.remove(u"MaxSize");
    settings.set(u"BaseSize", REG_SZ, "text");
    printf("%u %u\n", log.MaxSize(), log.BaseSize());
    RegUxClose(0, 0);
    printf("%u %u\n", log.MaxSize(), log.BaseSize());
  });
  EXPECT_EQ(out, "3072 2048\n3072 2048\n3072 2048\n");
}

TEST(RecordCost, ADroppedRecordIsOneQuestion) {
  Temp_Folder folder;
  const std::string out = told([&](Settings_Double& settings, RegistryLogImpl&) {
    RegistryLogImpl log(HKEY_LOCAL_MACHINE, settings_path, (folder / "test.log").c_str());
    log.OpenKey();
    settings.calls();
    for (int i = 0; i < 3; ++i) log.Output(2, "dropped");
    printf("%s\n", settings.calls().c_str());
    log.Output(1, "written");
    printf("%s\n", settings.calls().c_str());
  });
  EXPECT_EQ(out, "query LogLevel;query LogLevel;query LogLevel;\nquery LogLevel;query MaxSize;\n");
}

TEST(RecordCost, ARecordOnStandardOutputIsOneQuestionToo) {
  const std::string out = told([](Settings_Double& settings, RegistryLogImpl& log) {
    log.OpenKey();
    settings.calls();
    log.Output(1, "written");
    printf("%s\n", settings.calls().c_str());
  });
  EXPECT_EQ(out, record(1, "written") + "query LogLevel;\n");
}

TEST(LogInsideItsOwnQuestion, GetsTheDefaultsAndEnds) {
  const std::string out = told([](Settings_Double& settings, RegistryLogImpl& log) {
    settings.set(u"LogLevel", 5);
    settings.on_open([&] { log.Output(1, "while opening"); });
    settings.on_query([&](const std::u16string&) { log.Output(2, "dropped while asking"); });
    log.Output(5, "message");
    printf("%s\n", settings.calls().c_str());
  });
  EXPECT_EQ(out, record(1, "while opening") + record(2, "message") + "create;query LogLevel;\n");
}

}  // namespace
}  // namespace kvtest
