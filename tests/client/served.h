// A registry with a real server in a process of its own, and a client's service in this one.
#ifndef KELVANE_TESTS_CLIENT_SERVED_H
#define KELVANE_TESTS_CLIENT_SERVED_H

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <winerror.h>
#include <winreg.h>

#include <memory>
#include <string>
#include <vector>

#include "impl/client/client_service.h"
#include "tests/support/child.h"

namespace kvtest {

using impl::Registry_Service;

// The server's process. It ends with this at the latest.
class Test_Server {
 public:
  explicit Test_Server(const std::string& folder, bool machine_wide = false)
      : folder_(folder), machine_wide_(machine_wide) {
    mkdir((folder + "/core").c_str(), 0700);
  }
  ~Test_Server() { end_by(SIGKILL); }
  Test_Server(const Test_Server&) = delete;
  Test_Server& operator=(const Test_Server&) = delete;

  std::string endpoint() const { return folder_ + "/regss"; }
  pid_t pid() const { return pid_; }

  // False when it does not come to serve.
  bool start() {
    detail::Pipe ready;
    fflush(nullptr);
    pid_ = fork();
    if (pid_ == 0) {
      dup2(ready.write_end, STDOUT_FILENO);
      detail::change_environment({"KVREGISTRY=" + folder_ + "/hklm.hive:" + folder_ + "/hkcu.bin",
                                  "KVCORE_PRIVATE_DATA=" + folder_ + "/core", "KVREGISTRY_MODE=2",
                                  "KVMODULE_PATH=" KV_MODULE_FOLDER, "HOME=" + folder_,
                                  machine_wide_ ? "KVTEST_MACHINE_WIDE=1" : "KVTEST_MACHINE_WIDE"});
      const std::string port = folder_ + "/port";
      execl(KV_TEST_SERVER, KV_TEST_SERVER, endpoint().c_str(), port.c_str(), nullptr);
      _exit(127);
    }
    close(ready.write_end);
    char word = 0;
    ssize_t got = 0;
    do {
      got = read(ready.read_end, &word, 1);
    } while (got < 0 && errno == EINTR);
    close(ready.read_end);
    return got == 1;
  }
  void end_by(int signal) {
    if (pid_ <= 0) return;
    kill(pid_, signal);
    int status = 0;
    while (waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
    }
    pid_ = -1;
  }
  void signal(int number) const { kill(pid_, number); }

 private:
  std::string folder_;
  bool machine_wide_;
  pid_t pid_ = -1;
};

inline std::vector<std::string>& complaints() {
  static std::vector<std::string>& lines = *new std::vector<std::string>;
  return lines;
}

// A service for the rest of the process: threads of its own may go on with it.
inline impl::client::Client_Service& new_service(const impl::client::Settings& settings) {
  static auto& made = *new std::vector<impl::client::Client_Service*>;
  made.push_back(new impl::client::Client_Service(settings));
  return *made.back();
}

inline impl::client::Settings settings_for(const std::string& endpoint) {
  impl::client::Settings settings;
  settings.endpoint = [endpoint] { return endpoint; };
  settings.search = std::chrono::seconds(20);
  settings.complain = [](const std::string& line) { complaints().push_back(line); };
  return settings;
}

struct Value {
  DWORD code = 0;
  DWORD type = 0;
  std::string data;

  bool operator==(const Value&) const = default;
};

inline void PrintTo(const Value& value, std::ostream* stream) {
  *stream << "code " << value.code << " type " << value.type << " data " << testing::PrintToString(value.data);
}

// Short forms of a service's operations.
struct Client {
  Registry_Service& service;

  HKEY made(HKEY at, std::u16string_view path, DWORD access = KEY_ALL_ACCESS, DWORD options = 0) const {
    HKEY key = nullptr;
    bool created = false;
    EXPECT_EQ(service.create_key(at, path, {u"", options, access}, &key, &created), 0u);
    return key;
  }
  DWORD set(HKEY key, std::u16string_view name, DWORD type, std::string_view data) const {
    return service.set_value(key, name, type, reinterpret_cast<const BYTE*>(data.data()),
                             static_cast<DWORD>(data.size()));
  }
  // With room for this much.
  Value get(HKEY key, std::u16string_view name, DWORD room = 1 << 16) const {
    Value value;
    value.data.resize(room);
    impl::Value_Room out{reinterpret_cast<BYTE*>(value.data.data()), room};
    value.code = service.query_value(key, name, out);
    value.type = out.type;
    value.data.resize(value.code == ERROR_SUCCESS ? out.size : 0);
    return value;
  }
};

// One server for all tests of a program, and a key for each.
class Served : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    folder_ = std::make_unique<Temp_Folder>();
    server_ = std::make_unique<Test_Server>(folder_->path());
    ASSERT_TRUE(server_->start());
    service_ = &new_service(settings_for(server_->endpoint()));
  }
  static void TearDownTestSuite() {
    server_.reset();
    folder_.reset();
  }
  void SetUp() override {
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    const std::string name = std::string("Tests\\") + test->test_suite_name() + "." + test->name();
    base = client().made(HKEY_LOCAL_MACHINE, std::u16string(name.begin(), name.end()));
    ASSERT_NE(base, nullptr);
  }
  void TearDown() override { service().close_key(base); }

  static impl::client::Client_Service& service() { return *service_; }
  static Client client() { return {*service_}; }
  static Test_Server& server() { return *server_; }
  static const Temp_Folder& folder() { return *folder_; }

  HKEY base = nullptr;

 private:
  static inline std::unique_ptr<Temp_Folder> folder_;
  static inline std::unique_ptr<Test_Server> server_;
  static inline impl::client::Client_Service* service_ = nullptr;
};

}  // namespace kvtest

#endif
