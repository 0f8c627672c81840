// A target that shows how often it was told, and a key that is watched with it.
#pragma once

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <set>
#include <thread>

#include "tests/hive/registry_on.h"

namespace hivetest {

// Far more than any test needs, so that one that would hang fails instead.
constexpr std::chrono::seconds patience{20};

class Probe : public hive::Watch_Target {
 public:
  void signal() override {
    std::lock_guard lock(mutex_);
    ++count_;
    told_.notify_all();
  }
  // False when nobody told for ever so long.
  bool wait() {
    std::unique_lock lock(mutex_);
    return told_.wait_for(lock, patience, [this] { return count_ > 0; });
  }
  int count() {
    std::lock_guard lock(mutex_);
    return count_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable told_;
  int count_ = 0;
};

using Probe_Ref = std::shared_ptr<Probe>;

// A probe that a call was made with; null when the call failed.
inline Probe_Ref watch(Registry& registry, const Key& key, bool subtree, hive::Ways filter) {
  auto probe = std::make_shared<Probe>();
  return registry.watch(key, subtree, filter, probe) == Status::ok ? probe : nullptr;
}

inline Key opened(Registry& registry, const Key& at, std::u16string_view path) {
  Key key;
  EXPECT_EQ(registry.open(at, path, &key), Status::ok);
  return key;
}

inline std::set<std::string> threads() {
  std::set<std::string> ids;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) ids.insert(entry.path().filename());
  return ids;
}

// Those that watch, by their name.
inline int watching_threads() {
  int count = 0;
  for (const std::string& thread : threads()) {
    std::string name;
    std::getline(std::ifstream("/proc/self/task/" + thread + "/comm"), name);
    count += name == "registry-watch";
  }
  return count;
}

// Threads come and go a moment after what makes them so: whether it becomes true.
inline bool becomes(const std::function<bool()>& condition) {
  const auto end = std::chrono::steady_clock::now() + patience;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::yield();
  }
  return true;
}

// Waits until the threads that watch sleep, as they do for a second at a time. Before a fork: see
// why_not_fork_beside_threads.
inline void let_watching_threads_rest() {
  becomes([] {
    for (const std::string& thread : threads()) {
      std::string stat;
      std::getline(std::ifstream("/proc/self/task/" + thread + "/stat"), stat);
      const bool sleeps = stat.find("(registry-watch) S") != stat.npos;
      if (stat.find("(registry-watch)") != stat.npos && !sleeps) return false;
    }
    return true;
  });
}

}  // namespace hivetest
