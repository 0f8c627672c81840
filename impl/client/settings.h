// What a client may be told otherwise than by its process: tests have endpoints and patience of their own.
#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "impl/client/endpoint.h"

namespace impl::client {

using Clock = std::chrono::steady_clock;
using Deadline = Clock::time_point;

struct Settings {
  std::function<std::string()> endpoint = endpoint_file;
  // How long a call looks for a server that is not there; while it stays away later calls try once.
  std::chrono::milliseconds search{5000};
  // The longest that such a single try takes.
  std::chrono::milliseconds single_try{1000};
  // How long the answer to one question may take, and to one about whole hives.
  std::chrono::milliseconds answer{60'000};
  std::chrono::milliseconds long_answer{3'600'000};
  // Sees to it that a server lives; null where servers are started by others.
  std::function<void()> revive;
  // One line about a server that cannot be used, without newline.
  void (*complain)(const std::string& line) = nullptr;
};

}  // namespace impl::client
