// Reading nested lists against a well-known reader of JSON on equal data, and opening a profile.
//
//   nested_lists, nested_lists_as_json     about 1 MB of lists of numbers, names and strings; the counters of the
//                                          first: peak of the heap and size of the objects, in bytes
//   profile_of_100, opening_two_files      a profile with 100 settings; its floor, opening and reading two files
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <kelvane/frames.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <random>
#include <string>

#include "parselib/profile.h"

namespace {

// The same tree twice: as a list and as an array.
struct Texts {
  std::string list;
  std::string json;
};

class Tree_Maker {
 public:
  Texts make(size_t size) {
    open();
    while (texts_.list.size() < size) element(6);
    close();
    return texts_;
  }

 private:
  size_t pick(size_t count) { return random_() % count; }

  void open() {
    texts_.list += '(';
    texts_.json += '[';
    first_ = true;
  }
  void close() {
    texts_.list += ')';
    texts_.json += ']';
    first_ = false;
  }
  void separate() {
    if (first_) return;
    texts_.list += ' ';
    texts_.json += ',';
  }

  void element(int depth) {
    separate();
    if (depth > 0 && pick(5) == 0) {
      open();
      for (size_t count = 1 + pick(8); count > 0; --count) element(depth - 1);
      return close();
    }
    leaf(pick(4));
    first_ = false;
  }

  void leaf(size_t kind) {
    const std::string name = "name-" + std::to_string(pick(1000));
    const std::string number = std::to_string(pick(100000));
    texts_.list += kind == 0 ? name : kind == 1 ? '"' + name + '"' : number;
    texts_.json += kind <= 1 ? '"' + name + '"' : number;
  }

  std::mt19937 random_{1};
  Texts texts_;
  bool first_ = true;
};

const Texts& texts() {
  static const Texts made = Tree_Maker().make(1'000'000);
  return made;
}

size_t heap_in_use() {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

// What the objects of a tree take without the heap's own share: themselves, longer texts, one pointer an element.
size_t own_size(const Bone* bone) {
  if (dynamic_cast<const clAtom*>(bone) != nullptr) return sizeof(clAtom);
  if (dynamic_cast<const clString*>(bone) != nullptr) return sizeof(clString);
  if (dynamic_cast<const Integer*>(bone) != nullptr) return sizeof(Integer);
  const auto& list = dynamic_cast<const Sequence&>(*bone);
  constexpr size_t list_size = 5 * sizeof(void*);
  size_t size = list_size;
  for (size_t i = 0; i < list.count(); ++i) size += sizeof(Bone*) + own_size(list.at(i));
  return size;
}

void nested_lists(benchmark::State& state) {
  const std::string& text = texts().list;
  for (auto _ : state) {
    kvistrstream in(text.data(), text.size());
    Sequence* const list = read_list(in);
    benchmark::DoNotOptimize(list);
    list->delete_tree();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
  const size_t before = heap_in_use();
  kvistrstream in(text.data(), text.size());
  Sequence* const list = read_list(in);
  state.counters["heap"] = static_cast<double>(heap_in_use() - before);
  state.counters["objects"] = static_cast<double>(own_size(list));
  list->delete_tree();
}
BENCHMARK(nested_lists);

void nested_lists_as_json(benchmark::State& state) {
  const std::string& text = texts().json;
  for (auto _ : state) {
    nlohmann::json list = nlohmann::json::parse(text);
    benchmark::DoNotOptimize(list);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}
BENCHMARK(nested_lists_as_json);

// A folder with a profile of 100 settings; HOME has none.
class Profile_Folder {
 public:
  Profile_Folder() {
    char name[] = "/tmp/kvbench.XXXXXX";
    path_ = mkdtemp(name);
    setenv("HOME", path_.c_str(), 1);
    std::filesystem::create_directory(path_ + "/here");
    std::ofstream out(file());
    out << "(bench\n";
    for (int i = 0; i < 100; ++i) {
      out << "  (setting-" << i << ' ' << (i % 3 == 0 ? "\"some text\"" : i % 3 == 1 ? "12345" : "(10 20 30)") << ")\n";
    }
    out << ")\n";
  }
  ~Profile_Folder() { std::filesystem::remove_all(path_); }

  std::string file() const { return path_ + "/here/bench.pro"; }

 private:
  std::string path_;
};

void profile_of_100(benchmark::State& state) {
  const Profile_Folder folder;
  const std::string file = folder.file();
  for (auto _ : state) {
    const Profiler profile(file.c_str());
    benchmark::DoNotOptimize(profile.read_int(clAtom("setting-1"), 0));
  }
}
BENCHMARK(profile_of_100);

void opening_two_files(benchmark::State& state) {
  const Profile_Folder folder;
  const std::string file = folder.file();
  char block[8192];
  for (auto _ : state) {
    const int in = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    while (read(in, block, sizeof block) > 0) continue;
    const int out = open("/dev/null", O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    benchmark::DoNotOptimize(write(out, "(bench\n", 7));
    close(out);
    close(in);
  }
}
BENCHMARK(opening_two_files);

}  // namespace
