// Another process with a registry of its own on the same folder, there from before the test opens its own: it does one
// order after another.
#pragma once

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <map>

#include "hive/cache/read_section.h"
#include "tests/hive/registry_on.h"
#include "tests/hive/watch_probe.h"

namespace hivetest {

// Whether memory alone knows the value.
inline bool is_held(const Key& key, std::u16string_view name) {
  hive::Value_Out out{nullptr, 0, 0, 0};
  return Registry::known_value(hive::Read_Section(), *key, name, out).has_value();
}

// What a process has.
struct World {
  explicit World(std::string of_folder) : folder(std::move(of_folder)) {}

  // The key at that path from the root, opened once.
  const Key& key(const std::u16string& path) {
    Key& key = keys[path];
    if (key == nullptr) {
      EXPECT_EQ(registry->open(root_of(*registry), path, &key), Status::ok);
    }
    return key;
  }

  const std::string folder;
  std::unique_ptr<Registry> registry = registry_on(folder);
  std::map<std::u16string, Key> keys;
  Probe_Ref probe;
};

// Orders of many tests: the number is put as the value "v" of a key.

inline bool put_number(World& world, const std::u16string& key, int number) {
  return put(*world.registry, world.key(key), u"v", std::to_string(number)) == Status::ok;
}

inline bool change(World& world, int number) { return put_number(world, u"changed", number); }

inline bool change_quiet(World& world, int number) { return put_number(world, u"quiet", number); }

class Other_Process {
 public:
  // Of this very program, and without anything of the test's own: a plain function.
  using Order = bool (*)(World& world, int number);

  explicit Other_Process(const std::string& folder, uid_t user = geteuid()) {
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends_) != 0) throw std::runtime_error("socketpair");
    fflush(nullptr);
    pid_ = fork();
    if (pid_ != 0) {
      close(ends_[1]);
      return;
    }
    close(ends_[0]);
    if (user != geteuid() && (setgid(user) != 0 || setuid(user) != 0)) _exit(2);
    serve(folder);
  }
  ~Other_Process() {
    close(ends_[0]);
    waitpid(pid_, nullptr, 0);
  }
  Other_Process(const Other_Process&) = delete;
  Other_Process& operator=(const Other_Process&) = delete;

  // What the order gives; false when the process has ended.
  bool run(Order order, int number = 0) {
    const Message message{order, number};
    char answer = 0;
    return send(ends_[0], &message, sizeof message, MSG_NOSIGNAL) == static_cast<ssize_t>(sizeof message) &&
           recv(ends_[0], &answer, 1, 0) == 1 && answer == 'y';
  }

 private:
  struct Message {
    Order order;
    int number;
  };

  [[noreturn]] void serve(const std::string& folder) {
    World world(folder);
    Message message;
    while (recv(ends_[1], &message, sizeof message, MSG_WAITALL) == static_cast<ssize_t>(sizeof message)) {
      const char answer = message.order(world, message.number) ? 'y' : 'n';
      if (send(ends_[1], &answer, 1, MSG_NOSIGNAL) != 1) break;
    }
    _exit(0);
  }

  int ends_[2];
  pid_t pid_;
};

}  // namespace hivetest
