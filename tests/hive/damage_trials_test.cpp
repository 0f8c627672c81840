// Damage at random: whatever is done to a hive's files, before or while they are used, the program goes on with clear
// answers and one line a reason (pages may turn out to be damaged before the head is looked at again), the other hive
// is untouched, and once the file is put right the next call works.
#include <sys/mman.h>

#include <filesystem>
#include <random>

#include "tests/hive/database.h"
#include "tests/hive/registry_on.h"
#include "tests/hive/trials.h"

namespace {

using namespace hivetest;

constexpr std::size_t page = 4096;

// What may be done to a hive.
enum class Harm {
  cut_at_a_page,
  cut_anywhere,
  noise,
  zeros,
  all_zeros,
  replaced_by_noise,
  replaced_by_another_hive,
  log_removed,
  index_removed,
  log_cut,
  log_noise,
  count
};

constexpr const char* names[] = {"cut at a page",
                                 "cut anywhere",
                                 "noise",
                                 "zeros",
                                 "all zeros",
                                 "replaced by noise",
                                 "replaced by another hive",
                                 "log removed",
                                 "index removed",
                                 "log cut",
                                 "noise in the log"};

std::string noise(std::mt19937& random, std::size_t size) {
  std::string bytes(size, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random());
  return bytes;
}

// In place, as a program that writes where it should not.
void overwrite(const std::string& file, std::size_t at, const std::string& bytes) {
  std::fstream(file, std::ios::in | std::ios::out | std::ios::binary)
      .seekp(static_cast<std::streamoff>(at))
      .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

void replace_by(const std::string& file, const std::string& bytes) {
  write_bytes(file + ".other", bytes);
  std::filesystem::rename(file + ".other", file);
}

void cut(const std::string& file, std::size_t size) {
  if (std::filesystem::exists(file)) std::filesystem::resize_file(file, size);
}

std::size_t size_of(const std::string& file) {
  return std::filesystem::exists(file) ? std::filesystem::file_size(file) : 0;
}

class Trial {
 public:
  Trial(const std::string& folder, const std::string& good, unsigned seed)
      : folder_(folder), good_(good), random_(seed), harm_(static_cast<Harm>(seed % static_cast<int>(Harm::count))) {}

  // 0 when all is as it should be; else what is told on standard error.
  int run(bool while_open) {
    write_bytes(file_, good_);
    if (while_open) start();
    do_harm();
    if (!while_open) start();
    use();
    if (!is_clear()) return tell("an answer is not clear");
    if (complaints().size() > 2) return tell("too many lines");
    if (complaints().size() == 2 && complaints()[0] == complaints()[1]) return tell("a line twice");
    if (refused_ && complaints().empty()) return tell("refused without a line");
    if (!other_is_untouched()) return tell("the other hive was touched");
    put_right();
    if (!works()) return tell("does not work once put right");
    return refused_ ? 2 : 0;
  }

 private:
  void start() {
    registry_ = registry_on(folder_);
    statuses_.push_back(open_key(u"Software\\K150", &key_));
    if (key_ != nullptr) statuses_.push_back(put(*registry_, key_, u"newest", "in the log"));
  }
  Status open_key(std::u16string_view path, Key* out) {
    Key root;
    Status status = registry_->open_root(Root::machine, &root);
    return status == Status::ok ? registry_->open(root, path, out) : status;
  }

  void do_harm() {
    const std::string log = file_ + "-wal";
    std::size_t size = size_of(file_);
    std::size_t at = random_() % size;
    switch (harm_) {
      case Harm::cut_at_a_page:
        return cut(file_, random_() % (size / page) * page);
      case Harm::cut_anywhere:
        return cut(file_, at);
      case Harm::noise:
        return overwrite(file_, at, noise(random_, 1 + random_() % (size - at)));
      case Harm::zeros:
        return overwrite(file_, at, std::string(1 + random_() % (size - at), '\0'));
      case Harm::all_zeros:
        return overwrite(file_, 0, std::string(size, '\0'));
      case Harm::replaced_by_noise:
        return replace_by(file_, noise(random_, size));
      case Harm::replaced_by_another_hive:
        return replace_by(file_, good_);
      case Harm::log_removed:
        std::filesystem::remove(log);
        return;
      case Harm::index_removed:
        std::filesystem::remove(file_ + "-shm");
        return;
      case Harm::log_cut:
        return cut(log, size_of(log) == 0 ? 0 : random_() % size_of(log));
      default:
        if (size_of(log) > 0) overwrite(log, random_() % size_of(log), noise(random_, 200));
    }
  }

  void use() {
    Key key;
    statuses_.push_back(open_key(u"Software\\K299", &key));
    if (key != nullptr) statuses_.push_back(status_of_get(*registry_, key, u"n"));
    if (key_ != nullptr) statuses_.push_back(put(*registry_, key_, u"n", std::string(2000, 'w')));
    if (open_key(u"Software", &key) == Status::ok) {
      bool created = false;
      Key made;
      statuses_.push_back(registry_->create(key, u"New", {}, &made, &created));
      key_names(*registry_, key);
    }
  }

  bool is_clear() {
    bool clear = true;
    for (Status status : statuses_) {
      bool about_keys = status == Status::ok || status == Status::not_found || status == Status::key_deleted;
      bool about_files = status == Status::damaged || status == Status::not_a_hive || status == Status::newer_version;
      refused_ = refused_ || about_files;
      clear = clear && (about_keys || about_files);
    }
    return clear;
  }

  bool other_is_untouched() {
    Key mine;
    return registry_->open(root_of(*registry_, Root::current_user), u"Mine", &mine) == Status::ok &&
           get(*registry_, mine, u"v") == "kept";
  }

  void put_right() {
    replace_by(file_, good_);
    remove_log(file_);
  }

  bool works() {
    Key key;
    return open_key(u"Software\\K299", &key) == Status::ok && get(*registry_, key, u"n") == std::string(100, 'v') &&
           put(*registry_, key, u"n", "new") == Status::ok && get(*registry_, key, u"n") == "new";
  }

  int tell(const char* what) {
    fprintf(stderr, "%s: %s; answers", names[static_cast<int>(harm_)], what);
    for (Status status : statuses_) fprintf(stderr, " %d", static_cast<int>(status));
    for (const std::string& line : complaints()) fprintf(stderr, "\n  %s", line.c_str());
    fprintf(stderr, "\n");
    return 1;
  }

  const std::string folder_;
  const std::string file_ = folder_ + "/machine.bin";
  const std::string& good_;
  std::mt19937 random_;
  const Harm harm_;
  std::unique_ptr<Registry> registry_;
  Key key_;
  std::vector<Status> statuses_;
  bool refused_ = false;
};

// A hive of 300 keys and as many values, and a user's hive beside it.
std::string make_hives(const std::string& folder) {
  {
    std::unique_ptr<Registry> registry = registry_on(folder);
    for (int i = 0; i < 300; ++i) {
      const std::string name = "Software\\K" + std::to_string(i);
      Key key = make_key(*registry, root_of(*registry), std::u16string(name.begin(), name.end()));
      EXPECT_EQ(put(*registry, key, u"n", std::string(100, 'v')), Status::ok);
    }
    Key mine = make_key(*registry, root_of(*registry, Root::current_user), u"Mine");
    EXPECT_EQ(put(*registry, mine, u"v", "kept"), Status::ok);
  }
  gather(folder + "/machine.bin");
  return bytes_of(folder + "/machine.bin");
}

TEST(Damage_Trials, AnswerClearlySayItOnceAReasonAndLoseNothingElse) {
  Temp_Folder folder;
  const std::string good = make_hives(folder.path());
  ASSERT_GT(good.size(), 15 * page);
  const int wanted = trials(200, 2000);
  int refused = 0;
  for (int trial = 0; trial < wanted; ++trial) {
    remove_log(folder / "machine.bin");
    kvtest::Child_Result child = kvtest::run_child([&] {
      complaints().clear();
      Trial attempt(folder.path(), good, static_cast<unsigned>(trial));
      int result = attempt.run(trial / static_cast<int>(Harm::count) % 2 == 1);
      fflush(stderr);
      _exit(result);
    });
    refused += child.exit_status == 2;
    EXPECT_TRUE(child.exit_status == 0 || child.exit_status == 2)
        << "trial " << trial << ", signal " << child.signal << ", " << child.err;
    if (HasFailure()) break;
  }
  printf("%d trials of damage, %d refused with a line, 0 crashes, all went on once the file was put right\n", wanted,
         refused);
  EXPECT_GT(refused, wanted / 4);
}

TEST(Damage_Trials, CutAtEveryPage) {
  Temp_Folder folder;
  const std::string good = make_hives(folder.path());
  int refused = 0;
  const int pages = static_cast<int>(good.size() / page);
  for (int kept = 0; kept < pages; ++kept) {
    remove_log(folder / "machine.bin");
    replace_by(folder / "machine.bin", good.substr(0, static_cast<std::size_t>(kept) * page));
    complaints().clear();
    std::unique_ptr<Registry> registry = registry_on(folder.path());
    Key key;
    Status status = registry->open(root_of(*registry), u"Software\\K299", &key);
    if (kept == 0) {
      EXPECT_EQ(status, Status::not_found);  // an empty file becomes a hive
      continue;
    }
    EXPECT_EQ(status, Status::damaged) << kept << " pages of " << pages;
    EXPECT_EQ(complaints().size(), 1u);
    refused += status == Status::damaged;
  }
  printf("cut at each of %d pages, %d refused\n", pages, refused);
}

}  // namespace
