#include "impl/inproc/notification_board.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "impl/inproc/process_identity.h"

namespace impl {
namespace {

namespace fs = std::filesystem;

constexpr mode_t private_folder = 0700;
constexpr mode_t private_file = 0600;
constexpr mode_t rights_of_others = 0077;

bool make_folder(const std::string& path) { return mkdir(path.c_str(), private_folder) == 0 || errno == EEXIST; }

bool make_file(const std::string& path) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW, private_file);
  return fd >= 0 && close(fd) == 0;
}

bool write_file(const std::string& path, std::string_view data) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(data.data(), static_cast<std::streamsize>(data.size()));
  file.close();
  return static_cast<bool>(file);
}

std::string content_of(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// The names in a folder, sorted; none when it is not there. Names that begin with a dot are not finished.
std::vector<std::string> names_in(const std::string& folder) {
  std::vector<std::string> names;
  std::error_code failure;
  fs::directory_iterator at(folder, failure);
  for (; !failure && at != fs::directory_iterator(); at.increment(failure)) {
    std::string name = at->path().filename().string();
    if (!name.starts_with('.')) names.push_back(std::move(name));
  }
  std::sort(names.begin(), names.end());
  return names;
}

void remove_all(const std::string& path) {
  std::error_code ignored;
  fs::remove_all(path, ignored);
}

int number_in(std::string_view text) {
  int number = -1;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

// "<process>.<rest>": the process.
std::string process_of(const std::string& name) { return name.substr(0, name.find('.')); }

std::string target_and_kind(const std::string& target, int kind) { return target + "." + std::to_string(kind); }

// Numbers of one length, so that the order of names is the order of time.
std::string next_number() {
  static std::atomic<unsigned long long> last{1000000000000};
  return std::to_string(++last);
}

// False when nobody listens.
bool ring(const std::string& mailbox) {
  const int fd = open((mailbox + "/bell").c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC | O_NOFOLLOW);
  if (fd < 0) return false;
  const char sound = 1;
  // A bell that is full rings already.
  const bool heard = write(fd, &sound, 1) == 1 || errno == EAGAIN;
  close(fd);
  return heard;
}

}  // namespace

bool Notification_Board::make() const {
  make_folder(folder_);
  struct stat status;
  if (lstat(folder_.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) return false;
  if (status.st_uid != geteuid() || (status.st_mode & rights_of_others) != 0) return false;
  return make_folder(folder_ + "/requests") && make_folder(folder_ + "/standing") && make_folder(folder_ + "/mail");
}

std::string Notification_Board::request_folder(const std::string& target, int kind) const {
  return folder_ + "/requests/" + target_and_kind(target, kind);
}

std::string Notification_Board::standing_file(const std::string& target, int kind) const {
  return folder_ + "/standing/" + target_and_kind(target, kind);
}

// The folder goes when the last request in it does, which may be now.
bool Notification_Board::ask(const std::string& target, int kind, const std::string& asker) const {
  const std::string folder = request_folder(target, kind);
  for (;;) {
    if (!make_folder(folder)) return false;
    if (make_file(folder + "/" + asker)) return true;
    if (errno != ENOENT) return false;
  }
}

bool Notification_Board::take(const std::string& target, int kind, const std::string& asker) const {
  const std::string folder = request_folder(target, kind);
  if (unlink((folder + "/" + asker).c_str()) != 0) return false;
  rmdir(folder.c_str());
  return true;
}

std::vector<std::string> Notification_Board::askers(const std::string& target, int kind) const {
  return names_in(request_folder(target, kind));
}

bool Notification_Board::set_standing(const std::string& target, int kind, bool on) const {
  const std::string file = standing_file(target, kind);
  return on ? make_file(file) : unlink(file.c_str()) == 0 || errno == ENOENT;
}

bool Notification_Board::is_standing(const std::string& target, int kind) const {
  return access(standing_file(target, kind).c_str(), F_OK) == 0;
}

Posted Notification_Board::post(const std::string& asker, const std::string& target, int kind,
                                std::string_view data) const {
  const std::string mailbox = mailbox_of(asker);
  const std::string name = target_and_kind(target, kind) + "." + next_number() + "." + own_identity();
  const std::string unfinished = mailbox + "/." + name;
  if (!write_file(unfinished, data) || rename(unfinished.c_str(), (mailbox + "/" + name).c_str()) != 0) {
    unlink(unfinished.c_str());
    return access(mailbox.c_str(), F_OK) == 0 ? Posted::failed : Posted::nobody;
  }
  // A process that does not listen although it runs has lost its bell and will look when it has it again.
  if (ring(mailbox) || is_running(asker)) return Posted::delivered;
  remove_all(mailbox);
  return Posted::nobody;
}

bool Notification_Board::make_mailbox(const std::string& asker) const { return make_folder(mailbox_of(asker)); }

std::vector<Mail> Notification_Board::take_mail(const std::string& asker) const {
  std::vector<Mail> mail;
  const std::string mailbox = mailbox_of(asker);
  for (const std::string& name : names_in(mailbox)) {
    const std::size_t dot = name.find('.');
    if (dot == name.npos) continue;  // the bell
    const std::string file = mailbox + "/" + name;
    mail.push_back(
        {static_cast<int>(pid_in(name)), number_in(std::string_view(name).substr(dot + 1)), content_of(file)});
    unlink(file.c_str());
  }
  return mail;
}

void Notification_Board::leave(const std::string& process) const {
  remove_all(mailbox_of(process));
  for (const std::string& name : names_in(folder_ + "/standing")) {
    if (process_of(name) == process) remove_all(folder_ + "/standing/" + name);
  }
  for (const std::string& name : names_in(folder_ + "/requests")) {
    const std::string folder = folder_ + "/requests/" + name;
    if (process_of(name) == process) {
      remove_all(folder);
    } else if (unlink((folder + "/" + process).c_str()) == 0) {
      rmdir(folder.c_str());
    }
  }
}

void Notification_Board::sweep() const {
  std::vector<std::string> seen;
  const auto leave_for_ended = [&](const std::string& process) {
    if (std::find(seen.begin(), seen.end(), process) != seen.end()) return;
    seen.push_back(process);
    if (!is_running(process)) leave(process);
  };
  for (const std::string& name : names_in(folder_ + "/mail")) leave_for_ended(name);
  for (const std::string& name : names_in(folder_ + "/standing")) leave_for_ended(process_of(name));
  for (const std::string& name : names_in(folder_ + "/requests")) leave_for_ended(process_of(name));
}

}  // namespace impl
