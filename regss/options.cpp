// The text of --help is written here as it stands; the parser only reads.
#include "regss/options.h"

#include <kelvane/process.h>

#include <CLI/CLI.hpp>
#include <cstdio>

#include "regss/exit_status.h"
#include "regss/log.h"

namespace regss {
namespace {

constexpr char help[] =
    "Usage: regss --machine|--user [option...]\n"
    "The server of the registry: has its hives and serves them to other programs, in the foreground until SIGTERM or\n"
    "SIGINT. SIGHUP reads the settings again.\n"
    "\n"
    "  --machine            the machine's registry, for all users; its hives lie below the core data folder\n"
    "  --user               this user's registry, for this user and root; KVREGISTRY names the hives\n"
    "\n"
    "  --core-data FOLDER   the core data folder of --machine, in place of the setting CORE_DATA\n"
    "  --settings FILE      CORE_DATA=, LOG_LEVEL= and IDLE_SECONDS=, a line each; /etc/kelvane.conf unless said, "
    "with\n"
    "                       --user $HOME/.kv/regss.conf\n"
    "  --log-level LEVEL    0: only why it cannot serve; 1: also what happens to it, as unless said; 2: also every "
    "step\n"
    "  --idle SECONDS       ends so long after the last client has gone; 0: never, as unless said; with --user 300\n"
    "  --check              looks the hives through first and does not serve them when they have a fault\n"
    "  --background         comes back when questions are answered; the server goes on and writes its log into\n"
    "                       $HOME/logs/regss.log\n"
    "  --write-endpoint SOCKET\n"
    "                       only tells clients that the port is this socket, which the service manager listens at\n"
    "  --help, --version    this text, the version\n"
    "\n"
    "Exit status: 0 ended as it was asked to, 1 could not serve, 2 wrong command line, 3 another server serves this\n"
    "registry already.\n";

void add_options(CLI::App& app, Options& options, bool& per_user) {
  CLI::Option* const machine = app.add_flag("--machine", options.machine_wide);
  app.add_flag("--user", per_user)->excludes(machine);
  app.add_option("--core-data", options.core_data)->needs(machine);
  app.add_option("--settings", options.settings);
  app.add_option("--log-level", options.log_level)->check(CLI::Range(lowest_level, highest_level));
  app.add_option("--idle", options.idle_seconds)->check(CLI::Range(0u, max_idle_seconds));
  CLI::Option* const check = app.add_flag("--check", options.check);
  CLI::Option* const background = app.add_flag("--background", options.background);
  // For whoever starts the program and has the lock of start-up already.
  app.add_option("--lock-descriptor", options.lock_descriptor);
  app.add_option("--write-endpoint", options.port_to_announce)->excludes(check)->excludes(background);
}

int refuse(const std::string& reason) {
  KvConsoleMessage("regss: %s\nregss --help tells what can be said.\n", reason.c_str());
  return wrong_command_line;
}

int print(const char* text) {
  std::fputs(text, stdout);
  return ended;
}

}  // namespace

bool read_options(int count, char** words, Options* out_options, int* out_status) {
  bool per_user = false;
  CLI::App app;
  app.set_version_flag("--version", "regss " KV_VERSION "\n");
  add_options(app, *out_options, per_user);
  try {
    app.parse(count, words);
    if (out_options->machine_wide || per_user) return true;
    *out_status = refuse("say --machine or --user");
  } catch (const CLI::CallForHelp&) {
    *out_status = print(help);
  } catch (const CLI::CallForVersion& version) {
    *out_status = print(version.what());
  } catch (const CLI::ParseError& error) {
    *out_status = refuse(error.what());
  }
  return false;
}

}  // namespace regss
