// A ported program that does everything a registry is used for, at random, below a key of its own, with a model beside
// that checks every answer. Beside it others do the same; what all of them count up in one key never goes back.
//
//   store_mixed_load NUMBER KEYS OPERATIONS SECONDS
//
// Fills its key with KEYS keys, then works in four rounds, each at least OPERATIONS / 4 operations and SECONDS / 4
// long. Behind each round it prints "level MEMORY DESCRIPTORS FILES": its memory in KiB, a number, and the size of the
// user's files in bytes; at the end "done OPERATIONS".
// The first wrong answer ends it with a line that names it and the status 1.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>

#include "tests/store/store_test.h"

namespace kvtest {
namespace {

constexpr std::size_t keys_of_group = 100;
constexpr int workers = 4;

struct Value {
  DWORD type;
  std::string data;
};
using Values = std::map<std::string, Value>;
using Group = std::map<std::string, Values>;  // by the names of its keys

struct Place {
  std::string group;
  std::string key;
  std::string path() const { return group + "\\" + key; }
};

class Wrong : public std::runtime_error {
  using runtime_error::runtime_error;
};

void must(LSTATUS code, LSTATUS expected, const std::string& what) {
  if (code != expected) throw Wrong(what + ": " + std::to_string(code) + " instead of " + std::to_string(expected));
}
template <class Type>
void must_be(const Type& found, const Type& expected, const std::string& what) {
  if (!(found == expected)) throw Wrong(what + ": another answer than what was written");
}

template <class Map>
std::vector<std::string> names_of(const Map& map) {
  std::vector<std::string> names;
  for (const auto& [name, rest] : map) names.push_back(name);
  return names;
}
std::vector<std::string> sorted(std::vector<std::string> names) {
  std::sort(names.begin(), names.end());
  return names;
}

class Worker {
 public:
  Worker(int number, std::size_t keys) : number_(number), random_(static_cast<unsigned>(number)) {
    const std::string shared = "Software\\Load";
    shared_ = created(HKEY_CURRENT_USER, shared);
    own_ = created(HKEY_CURRENT_USER, shared + "\\worker" + std::to_string(number));
    if (shared_ == nullptr || own_ == nullptr) throw Wrong("making the worker's key");
    places_ = keys + keys / 10;  // so that one in ten is missing
    for (std::size_t i = 0; i < places_; ++i) groups_[place(i).group];
    for (std::size_t i = 0; i < keys; ++i) create(place(i));
  }

  void work_once() {
    struct Operation {
      unsigned weight;
      void (Worker::*perform)(const Place&);
    };
    static constexpr Operation operations[] = {
        {400, &Worker::query},      {200, &Worker::set},           {100, &Worker::open},
        {60, &Worker::create},      {60, &Worker::remove},         {50, &Worker::remove_value},
        {50, &Worker::list_values}, {40, &Worker::ask_for_counts}, {20, &Worker::list_keys},
        {50, &Worker::count_up},    {10, &Worker::watch},          {2, &Worker::flush},
        {1, &Worker::save_a_group},
    };
    unsigned all = 0;
    for (const Operation& each : operations) all += each.weight;
    unsigned choice = static_cast<unsigned>(random_() % all);
    const Operation* chosen = operations;
    while (choice >= chosen->weight) choice -= (chosen++)->weight;
    (this->*chosen->perform)(place(random_() % places_));
  }

 private:
  static Place place(std::size_t index) {
    return {"g" + std::to_string(index / keys_of_group), "k" + std::to_string(index % keys_of_group)};
  }
  Values* find(const Place& at) {
    Group& group = groups_[at.group];
    const auto found = group.find(at.key);
    return found == group.end() ? nullptr : &found->second;
  }
  std::string some_name() { return "v" + std::to_string(random_() % 8); }
  Value some_value() {
    static constexpr std::size_t sizes[] = {0, 4, 30, 30, 30, 200, 200, 2000};
    constexpr std::size_t large = 20000, one_in = 500;
    static constexpr DWORD types[] = {REG_BINARY, REG_DWORD, REG_SZ, REG_MULTI_SZ};
    const std::size_t size = random_() % one_in == 0 ? large : sizes[random_() % std::size(sizes)];
    std::string data(size, static_cast<char>('a' + random_() % 26));
    const DWORD type = types[random_() % std::size(types)];
    if (type == REG_DWORD) data.assign(sizeof(DWORD), static_cast<char>('a' + random_() % 26));
    if (type == REG_SZ) data += '\0';
    if (type == REG_MULTI_SZ) data += "\0\0"s;
    return {type, std::move(data)};
  }

  void open(const Place& at) { must(open_result(own_, at.path()), find(at) != nullptr ? 0 : 2, "open " + at.path()); }

  void create(const Place& at) {
    Key key;
    DWORD disposition = 0;
    must(RegCreateKeyEx(own_, at.path().c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, key.out(), &disposition), 0,
         "create " + at.path());
    const DWORD expected = find(at) != nullptr ? REG_OPENED_EXISTING_KEY : REG_CREATED_NEW_KEY;
    must_be(disposition, expected, "disposition of " + at.path());
    groups_[at.group][at.key];
  }

  void remove(const Place& at) {
    must(RegDeleteKey(own_, at.path().c_str()), find(at) != nullptr ? 0 : 2, "delete " + at.path());
    groups_[at.group].erase(at.key);
  }

  void set(const Place& at) {
    Values* values = find(at);
    if (values == nullptr) return create(at);
    const std::string name = some_name();
    const Value value = some_value();
    must(set_value(opened(own_, at.path()), name.c_str(), value.type, value.data), 0, "set " + at.path());
    (*values)[name] = value;
  }

  void query(const Place& at) {
    const Values* values = find(at);
    if (values == nullptr) return open(at);
    const std::string name = some_name();
    const Answer answer = value_of(opened(own_, at.path()), name.c_str());
    const auto found = values->find(name);
    must(answer.code, found != values->end() ? 0 : 2, "query " + at.path());
    if (found == values->end()) return;
    must_be(answer.type, found->second.type, "type in " + at.path());
    must_be(answer.data(), found->second.data, "data in " + at.path());
  }

  void remove_value(const Place& at) {
    Values* values = find(at);
    if (values == nullptr) return open(at);
    const std::string name = some_name();
    const LSTATUS code = RegDeleteValue(opened(own_, at.path()), name.c_str());
    must(code, values->erase(name) != 0 ? 0 : 2, "delete a value of " + at.path());
  }

  void list_values(const Place& at) {
    const Values* values = find(at);
    if (values == nullptr) return open(at);
    must_be(sorted(value_names(opened(own_, at.path()))), names_of(*values), "values of " + at.path());
  }

  void list_keys(const Place& at) {
    const Group& group = groups_[at.group];
    if (group.empty()) return;
    must_be(sorted(sub_keys(opened(own_, at.group))), names_of(group), "keys of " + at.group);
  }

  void ask_for_counts(const Place& at) {
    const Values* values = find(at);
    if (values == nullptr) return open(at);
    DWORD keys = untouched, value_count = untouched;
    must(RegQueryInfoKey(opened(own_, at.path()), nullptr, nullptr, nullptr, &keys, nullptr, nullptr, &value_count,
                         nullptr, nullptr, nullptr, nullptr),
         0, "counts of " + at.path());
    must_be(keys, DWORD{0}, "number of keys below " + at.path());
    must_be(value_count, static_cast<DWORD>(values->size()), "number of values of " + at.path());
  }

  // Each worker's own number in the one key that all of them share.
  void count_up(const Place&) {
    must(set_number(shared_, ("n" + std::to_string(number_)).c_str(), ++counted_), 0, "count");
    for (int other = 0; other < workers; ++other) {
      const Answer answer = query(shared_, ("n" + std::to_string(other)).c_str(), sizeof(DWORD));
      if (answer.code == 2 && seen_[other] == 0) continue;
      must(answer.code, 0, "count of another");
      DWORD count = 0;
      answer.data().copy(reinterpret_cast<char*>(&count), sizeof count);
      if (count < seen_[other] || (other == number_ && count != counted_)) throw Wrong("a count went back");
      seen_[other] = count;
    }
  }
  static Answer query(HKEY key, const char* name, DWORD room) { return kvtest::query(key, name, room); }

  void watch(const Place& at) {
    if (find(at) == nullptr) return open(at);
    const Key key = opened(own_, at.path());
    const HANDLE event = CreateEvent(nullptr, TRUE, FALSE, nullptr);
    must(RegNotifyChangeKeyValue(key, FALSE, REG_NOTIFY_CHANGE_LAST_SET, event, TRUE), 0, "watch " + at.path());
    set(at);
    must(static_cast<LSTATUS>(WaitForSingleObject(event, 60000)), WAIT_OBJECT_0, "change of " + at.path());
    CloseHandle(event);
  }

  void flush(const Place&) { must(RegFlushKey(own_), 0, "flush"); }

  void save_a_group(const Place& at) {
    const Key group = opened(own_, at.group);
    if (group == nullptr) return;
    const std::string file = std::filesystem::temp_directory_path() / ("load" + std::to_string(getpid()));
    must(RegSaveKey(group, file.c_str(), nullptr), 0, "save " + at.group);
    if (std::filesystem::file_size(file) == 0) throw Wrong("an empty file of " + at.group);
    std::filesystem::remove(file);
  }

  const int number_;
  std::mt19937 random_;
  std::size_t places_ = 0;
  Key shared_;
  Key own_;
  std::map<std::string, Group> groups_;
  DWORD counted_ = 0;
  DWORD seen_[workers] = {};
};

long memory_kib() {
  std::ifstream status("/proc/self/statm");
  long all = 0, resident = 0;
  status >> all >> resident;
  return resident * (sysconf(_SC_PAGESIZE) / 1024);
}
long descriptors() {
  const std::filesystem::directory_iterator folder("/proc/self/fd");
  return std::distance(begin(folder), end(folder));
}
std::uintmax_t size_of_files() {
  std::uintmax_t size = 0;
  for (const auto& each : std::filesystem::recursive_directory_iterator(std::getenv("HOME"))) {
    std::error_code vanished;
    if (each.is_regular_file(vanished)) size += each.file_size(vanished);
  }
  return size;
}

int run(int number, std::size_t keys, long operations, long seconds) {
  Worker worker(number, keys);
  using Clock = std::chrono::steady_clock;
  constexpr int rounds = 4;
  long done = 0;
  for (int round = 1; round <= rounds; ++round) {
    const auto end = Clock::now() + std::chrono::seconds(seconds) / rounds;
    while (done < operations * round / rounds || Clock::now() < end) {
      worker.work_once();
      ++done;
    }
    std::printf("level %ld %ld %ju\n", memory_kib(), descriptors(), size_of_files());
  }
  std::printf("done %ld\n", done);
  return 0;
}

}  // namespace
}  // namespace kvtest

int main(int, char** argv) {
  try {
    return kvtest::run(std::atoi(argv[1]), static_cast<std::size_t>(std::atol(argv[2])), std::atol(argv[3]),
                       std::atol(argv[4]));
  } catch (const std::exception& wrong) {
    std::printf("wrong: %s\n", wrong.what());
    return 1;
  }
}
