#include "regss/serve.h"

#include <kelvane/advapi32.h>
#include <kelvane/module.h>
#include <systemd/sd-daemon.h>
#include <unistd.h>
#include <winbase.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "impl/server/run.h"
#include "impl/server/start_files.h"
#include "regss/background.h"
#include "regss/check.h"
#include "regss/endpoint.h"
#include "regss/environment.h"
#include "regss/exit_status.h"
#include "regss/handed_sockets.h"
#include "regss/log.h"
#include "regss/manager.h"
#include "regss/settings.h"
#include "regss/signals.h"

namespace regss {
namespace {

constexpr char store_library[] = "advapi32impl.dll";
constexpr char server_library[] = "advapi32server.dll";

int fail(const std::string& reason, int status = could_not_serve) {
  say(lowest_level, reason);
  tell_manager_failed(reason);
  return status;
}

// One life: what its steps share.
struct Life {
  const Options& options;
  Background& background;
  Settings settings{};
  impl::Endpoint_Files files{};
  std::string data_folder{};
  std::vector<int> handed_sockets{};
  Endpoint* endpoint = nullptr;
  // What the server has said before it was ready: when it cannot begin, the last line is the reason.
  std::vector<std::string> held_lines{};
  bool is_ready = false;
};

// The libraries are loaded when this comes back, and the table is bound to the store.
bool start_libraries(std::string* out_reason) {
  for (const char* library : {store_library, server_library}) {
    if (KvModuleIsInstalled(library) != 0) continue;
    *out_reason = std::string(library) + " is not installed";
    return false;
  }
  init_advapi32();
  return true;
}

// Whose users' hives the store serves, which is settled before the first use of one.
void settle_store(bool machine_wide) {
  void* const entry = reinterpret_cast<void*>(GetProcAddress(LoadLibraryA(store_library), "KvIHostedRegistry"));
  if (entry != nullptr) reinterpret_cast<void* (*)(int)>(entry)(machine_wide ? 1 : 0);
}

bool find_files(Life& life, std::string* out_reason) {
  if (life.options.machine_wide) {
    life.files = impl::machine_endpoint();
    life.data_folder = std::getenv("KVCORE_PRIVATE_DATA");
    return true;
  }
  life.data_folder = impl::private_core_data(out_reason);
  return !life.data_folder.empty() && impl::user_endpoint(&life.files, out_reason);
}

bool prepare(Life& life, std::string* out_reason) {
  if (!read_settings(life.options, &life.settings, out_reason)) return false;
  set_log_level(life.settings.log_level);
  return set_environment(life.options, life.settings, out_reason) &&
         take_handed_sockets(&life.handed_sockets, out_reason) && start_libraries(out_reason) &&
         find_files(life, out_reason);
}

void reload(const Life& life) {
  tell_manager_reloading();
  Settings settings;
  std::string reason;
  if (read_settings(life.options, &settings, &reason)) {
    set_log_level(settings.log_level);
    say(usual_level, "The settings were read again; the log level is " + std::to_string(settings.log_level));
    if (settings.core_data != life.settings.core_data || settings.idle_seconds != life.settings.idle_seconds)
      say(usual_level, "CORE_DATA and IDLE_SECONDS count from the next start on");
  } else {
    say(lowest_level, "The settings stay as they are: " + reason);
  }
  tell_manager_ready("Serves at " + life.endpoint->port());
}

void say_for_server(void* context, const char* line) {
  Life& life = *static_cast<Life*>(context);
  if (life.is_ready) return say(usual_level, line);
  life.held_lines.push_back(line);
}

void tell_ready(void* context) {
  Life& life = *static_cast<Life*>(context);
  life.background.take_log();
  life.is_ready = true;
  for (const std::string& line : life.held_lines) say(usual_level, line);
  say(usual_level, "Serves " + std::string(std::getenv("KVREGISTRY")) + " at " + life.endpoint->port());
  life.endpoint->release_lock();
  life.background.tell_ready();
  tell_manager_ready("Serves at " + life.endpoint->port());
}

decltype(&KvRegssRun) server_entry() {
  void* const entry = reinterpret_cast<void*>(GetProcAddress(LoadLibraryA(server_library), "KvRegssRun"));
  return reinterpret_cast<decltype(&KvRegssRun)>(entry);
}

int run_server(Life& life, int stop) {
  const auto run = server_entry();
  if (run == nullptr) {
    life.held_lines = {std::string(server_library) + " has no entry KvRegssRun"};
    return could_not_serve;
  }
  Regss_Options options{};
  options.sockets = life.endpoint->sockets().data();
  options.socket_count = life.endpoint->sockets().size();
  options.machine_wide = life.options.machine_wide ? 1 : 0;
  options.data_folder = life.data_folder.c_str();
  options.idle_seconds = life.settings.idle_seconds;
  options.stop = stop;
  options.ready = tell_ready;
  options.say = say_for_server;
  options.context = &life;
  return run(&options);
}

int serve_claimed(Life& life) {
  settle_store(life.options.machine_wide);
  std::string reason;
  const std::string file_of_users = life.options.machine_wide ? life.data_folder + "/registry/users" : "";
  if (life.options.check && !check_hives(file_of_users, &reason)) return fail(reason);
  // From here on a signal leaves no file behind.
  const Signals signals(tell_manager_stopping, [&life] { reload(life); });
  if (!life.endpoint->open(life.handed_sockets)) return fail(life.endpoint->reason());
  const int status = run_server(life, signals.stop());
  tell_manager_stopping();
  life.endpoint->withdraw();
  if (status != ended) return fail(life.held_lines.empty() ? "the server did not begin" : life.held_lines.back());
  say(usual_level, "Ended");
  return ended;
}

int serve_in_this_process(const Options& options, Background& background) {
  Life life{options, background};
  std::string reason;
  if (!prepare(life, &reason)) return fail(reason);
  // Never destroyed: at the end the lock stays until the process, which still has hives to close, is gone.
  life.endpoint = new Endpoint(life.files, options.machine_wide);
  static const Endpoint* kept = nullptr;
  kept = life.endpoint;
  const std::string own_port =
      life.handed_sockets.empty() ? options.port_to_announce : path_of_socket(life.handed_sockets.front());
  switch (life.endpoint->claim(options.lock_descriptor, own_port)) {
    case Endpoint::Claim::failed:
      return fail(kept->reason());
    case Endpoint::Claim::served_already:
      return fail(kept->reason(), served_already);
    case Endpoint::Claim::made:
      break;
  }
  if (!options.port_to_announce.empty())
    return life.endpoint->announce(options.port_to_announce) ? ended : fail(kept->reason());
  // No folder is kept from being removed or unmounted.
  if (chdir("/") != 0) return fail("the root folder cannot be entered");
  return serve_claimed(life);
}

}  // namespace

int serve(const Options& options) {
  Background background;
  int status = could_not_serve;
  if (options.background && !background.enter(&status)) return status;
  return serve_in_this_process(options, background);
}

}  // namespace regss
