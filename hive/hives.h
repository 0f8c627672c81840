// The machine's and the user's hive, each known from its first use on. The locations are asked without any
// mutex held, since asking may end the process, and that asks for the hives again.
#pragma once

#include <memory>
#include <string>
#include <thread>

#include "hive/hive.h"
#include "hive/registry.h"

namespace hive {

class Hives {
 public:
  Hives(std::unique_ptr<Locations> locations, Complain complain);

  // Null only for a thread that is asking the locations at this moment.
  std::shared_ptr<Hive> machine();
  std::shared_ptr<Hive> user();
  // The hive of all users; null when each has one.
  std::shared_ptr<Hive> users();
  // Those that were used so far, else null.
  std::shared_ptr<Hive> machine_if_used() const;
  std::shared_ptr<Hive> user_if_used() const;
  std::shared_ptr<Hive> users_if_used() const;

  // The per-user file that images are made for; once the user's hive was used.
  const std::string& user_image_file() const { return user_image_file_; }

 private:
  enum class State { unknown, asking, known };
  struct Slot {
    State state = State::unknown;
    std::thread::id asker;
    pid_t asking_process = 0;
    std::shared_ptr<Hive> hive;
  };

  std::shared_ptr<Hive> use(Slot& slot, std::shared_ptr<Hive> (Hives::*make)());
  // Whether the calling thread is the one to ask; waits while another one does.
  bool begin_asking(Slot& slot);
  std::shared_ptr<Hive> make_machine();
  std::shared_ptr<Hive> make_user();
  std::shared_ptr<Hive> make_users();

  std::unique_ptr<Locations> locations_;
  Complain complain_;
  Slot machine_;  // all guarded by the opening mutex
  Slot user_;
  Slot users_;
  std::string user_image_file_;
};

}  // namespace hive
