// Files that are no good hive, saved keys, backups: codes and console lines.
#include <sys/stat.h>

#include <algorithm>
#include <fstream>

#include "tests/impl/module.h"
#include "tests/support/child.h"

namespace {

using namespace kvtest;

// The code of creating a key in a machine hive that is set up by the function, in a process of its own; the
// console's text goes to the second.
struct First_Use {
  int code;
  std::string console;
};

First_Use first_use(const std::string& folder) {
  const auto child = run_child([&] {
    put_hives_into(folder);
    HKEY key = nullptr;
    _exit(static_cast<int>(create_key(HKEY_LOCAL_MACHINE, u"k", &key) % 251));
  });
  return {child.exit_status, child.err};
}

int told(int code) { return code % 251; }

void write_text(const std::string& file, const std::string& text) { std::ofstream(file) << text; }

std::string text_of(const std::string& file) {
  std::ifstream stream(file);
  return {std::istreambuf_iterator<char>(stream), {}};
}

class HiveFile : public testing::Test {
 protected:
  Temp_Folder folder;
  std::string file = folder / "hklm.hive";
};
TEST_F(HiveFile, OfAnyOtherContentIs1017WithOneLineAndUntouched) {
  const std::string text(5000, 'x');
  write_text(file, text);
  const First_Use use = first_use(folder.path());
  EXPECT_EQ(use.code, told(1017)) << use.console;
  EXPECT_EQ(use.console.rfind("kelvane registry: ", 0), 0u);
  EXPECT_NE(use.console.find(file), std::string::npos);
  EXPECT_EQ(std::count(use.console.begin(), use.console.end(), '\n'), 1);
  EXPECT_EQ(text_of(file), text);
}

TEST_F(HiveFile, ThatIsPutRightWorksAtTheNextCall) {
  write_text(file, std::string(5000, 'x'));
  const auto child = run_child([&] {
    put_hives_into(folder.path());
    HKEY key = nullptr;
    const DWORD before = create_key(HKEY_LOCAL_MACHINE, u"k", &key);
    unlink(file.c_str());
    const DWORD after = create_key(HKEY_LOCAL_MACHINE, u"k", &key);
    _exit(before == 1017 && after == 0 ? 0 : 1);
  });
  EXPECT_EQ(child.exit_status, 0);
}

TEST_F(HiveFile, ThatIsADirectoryIsAnErrorWithOneLine) {
  ASSERT_EQ(mkdir(file.c_str(), 0700), 0);
  const First_Use use = first_use(folder.path());
  EXPECT_NE(use.code, 0);
  EXPECT_NE(use.console.find(file), std::string::npos);
}

TEST_F(HiveFile, IsUsedInSilence) {
  const First_Use use = first_use(folder.path());
  EXPECT_EQ(use.code, 0);
  EXPECT_EQ(use.console, "");
}

TEST_F(HiveFile, ThatMayNotBeReadIs5) {
  ASSERT_EQ(first_use(folder.path()).code, 0);
  ASSERT_EQ(chmod(file.c_str(), 0), 0);
  ASSERT_EQ(chmod(folder.path().c_str(), 0755), 0);
  const auto child = run_child([&] {
    if (geteuid() == 0 && setuid(65534) != 0) _exit(100);
    put_hives_into(folder.path());
    HKEY key = nullptr;
    _exit(static_cast<int>(open_key(HKEY_LOCAL_MACHINE, u"k", &key)));
  });
  EXPECT_EQ(child.exit_status, 5) << child.err;
}

TEST_F(HiveFile, IsWhatSavingAKeyMakes) {
  const auto saver = run_child([&] {
    put_hives_into(folder.path());
    HKEY top = nullptr, sub = nullptr;
    create_key(HKEY_CURRENT_USER, u"top", &top);
    create_key(top, u"sub", &sub);
    set_value(sub, u"v", REG_SZ, stored(u"kept"));
    _exit(entries().KvIRegSaveKey(top, win(std::u16string(file.begin(), file.end())).data(), nullptr, nullptr) == 0
              ? 0
              : 1);
  });
  ASSERT_EQ(saver.exit_status, 0) << saver.err;
  const auto reader = run_child([&] {
    put_hives_into(folder.path());
    HKEY sub = nullptr;
    const DWORD code = open_key(HKEY_LOCAL_MACHINE, u"sub", &sub);
    _exit(code == 0 && value_of(sub, u"v") == Value{0, REG_SZ, stored(u"kept")} ? 0 : 1);
  });
  EXPECT_EQ(reader.exit_status, 0) << reader.err;
}

TEST_F(HiveFile, KeepsWhatWasWrittenForTheNextProcess) {
  const auto writer = run_child([&] {
    put_hives_into(folder.path());
    HKEY key = nullptr;
    create_key(HKEY_LOCAL_MACHINE, u"a\\b", &key);
    _exit(set_value(key, u"v", REG_SZ, stored(u"kept")) == 0 ? 0 : 1);
  });
  ASSERT_EQ(writer.exit_status, 0) << writer.err;
  const auto reader = run_child([&] {
    put_hives_into(folder.path());
    HKEY key = nullptr;
    const DWORD code = open_key(HKEY_LOCAL_MACHINE, u"A\\B", &key);
    _exit(code == 0 && value_of(key, u"V") == Value{0, REG_SZ, stored(u"kept")} ? 0 : 1);
  });
  EXPECT_EQ(reader.exit_status, 0) << reader.err;
}

TEST_F(HiveFile, HasTheModeThatTheRegistrysMaskLeaves) {
  const auto child = run_child([&] {
    put_hives_into(folder.path());
    setenv("KVREGUMASK", "027", 1);
    umask(0);
    HKEY key = nullptr;
    _exit(create_key(HKEY_LOCAL_MACHINE, u"k", &key) == 0 ? 0 : 1);
  });
  ASSERT_EQ(child.exit_status, 0) << child.err;
  struct stat found;
  ASSERT_EQ(stat(file.c_str(), &found), 0);
  EXPECT_EQ(found.st_mode & 07777, 0640u);
}

}  // namespace
