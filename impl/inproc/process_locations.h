// Where the hives of this process lie, as libadvapi32's settings tell it.
#pragma once

#include <string>

#include "hive/registry.h"

namespace impl {

// The folder of this host's core data; with make it is made, for the user alone, when it is missing. "" when there is
// none or it cannot be made.
std::string core_data(bool make);

// From now on this process serves the registry to all users of the machine, whose hive lies beside the machine's.
// Before the first use of a hive.
void serve_all_users();

class Process_Locations final : public hive::Locations {
 public:
  explicit Process_Locations(hive::Complain complain) : complain_(complain) {}

  std::string machine_hive() override;
  std::string user_hive() override;
  std::string user_image() override;
  mode_t machine_mask() override;
  bool serves_all_users() override;
  std::string users_hive() override;

 private:
  hive::Complain complain_;
};

}  // namespace impl
