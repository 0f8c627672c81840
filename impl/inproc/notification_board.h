// Requests for notifications and the answers to them, as files that all processes of the user see:
//
//   requests/<target>.<kind>/<asker>       empty; whoever removes it has taken the request
//   standing/<target>.<kind>               empty; the target answers such requests at once
//   mail/<asker>/bell                      FIFO, open for reading as long as the asker lives
//   mail/<asker>/<target>.<kind>.<number>  an answer with its data
//
// Targets and askers are identities of processes. A killed process leaves files, which sweep removes and which never
// mean another process. Operations may be called from any thread; none waits for another process.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace impl {

enum class Posted { delivered, nobody, failed };

struct Mail {
  int pid = 0;  // whose report it is
  int kind = 0;
  std::string data;
};

class Notification_Board {
 public:
  explicit Notification_Board(std::string folder) : folder_(std::move(folder)) {}

  // Makes the board's folders. False when the folder is not the user's own.
  bool make() const;

  // False when the file system refuses it. The same request twice is one.
  bool ask(const std::string& target, int kind, const std::string& asker) const;
  // True for the one who takes the request.
  bool take(const std::string& target, int kind, const std::string& asker) const;
  std::vector<std::string> askers(const std::string& target, int kind) const;

  bool set_standing(const std::string& target, int kind, bool on) const;
  bool is_standing(const std::string& target, int kind) const;

  // Puts an answer where its asker finds it, and rings.
  Posted post(const std::string& asker, const std::string& target, int kind, std::string_view data) const;

  bool make_mailbox(const std::string& asker) const;
  std::string mailbox_of(const std::string& asker) const { return folder_ + "/mail/" + asker; }
  // Takes the answers out of a mailbox, those of one target in order.
  std::vector<Mail> take_mail(const std::string& asker) const;

  // Removes what the process has on the board.
  void leave(const std::string& process) const;
  // Removes what processes that have ended have left.
  void sweep() const;

 private:
  std::string request_folder(const std::string& target, int kind) const;
  std::string standing_file(const std::string& target, int kind) const;

  std::string folder_;
};

}  // namespace impl
