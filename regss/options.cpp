#include "regss/options.h"

#include <CLI/CLI.hpp>

#include "regss/exit_status.h"
#include "regss/log.h"

namespace regss {
namespace {



constexpr char description[] =
    "The server of the registry: owns its hives and serves them to other programs, in the\n"
    "foreground until SIGTERM or SIGINT; SIGHUP reads the settings again.";
constexpr char footer[] =
    "Exit status: 0 ended as asked, 1 could not serve, 2 wrong command line, 3 another server\n"
    "serves this registry already.";

void add_which(CLI::App& app, Options& options, bool& per_user) {
  auto* const which = app.add_option_group("Which registry");
  which->add_flag("--machine", options.machine_wide,
                  "The machine's registry, for all users: the hives lie below CORE_DATA of the settings");
  which->add_flag("--user", per_user, "This user's registry, for this user alone: the hives that KVREGISTRY names");
  which->require_option(1);
}

void add_manner(CLI::App& app, Options& options) {
  app.add_option("--core-data", options.core_data, "The core data folder of the machine, in place of CORE_DATA")
      ->type_name("FOLDER")
      ->needs("--machine");
  app.add_option("--settings", options.settings,
                 "Settings: CORE_DATA=, LOG_LEVEL=, IDLE_SECONDS= [/etc/kelvane.conf; with --user ~/.kv/regss.conf]")
      ->type_name("FILE");
  app.add_option("--log-level", options.log_level,
                 "0: only why it cannot serve, 1: also what happens to it [1], 2: also every step")
      ->type_name("LEVEL")
      ->check(CLI::Range(lowest_level, highest_level));
  app.add_option("--idle", options.idle_seconds,
                 "End so many seconds after the last client has gone; 0: never [0; with --user 300]")
      ->type_name("SECONDS")
      ->check(CLI::Range(0u, max_idle_seconds));
  app.add_flag("--check", options.check, "Look the hives through before serving them; with a fault, end with 1");
}

void add_start(CLI::App& app, Options& options) {
  app.add_flag("--background", options.background,
               "Come back when questions are answered, and go on in the background; the log is then "
               "$HOME/logs/regss.log");
  // For whoever starts the program and has the lock already.
  app.add_option("--lock-descriptor", options.lock_descriptor)->group("");
  app.add_option("--write-endpoint", options.port_to_announce,
                 "Write into the endpoint file that the port is this socket of the service manager, and end")
      ->type_name("SOCKET")
      ->excludes("--background")
      ->excludes("--check");
}

}  // namespace

bool read_options(int count, char** words, Options* out_options, int* out_status) {
  bool per_user = false;
  CLI::App app(description, "regss");
  app.footer(footer);
  app.set_version_flag("--version", "regss " KV_VERSION);
  add_which(app, *out_options, per_user);
  add_manner(app, *out_options);
  add_start(app, *out_options);
  try {
    app.parse(count, words);
    return true;
  } catch (const CLI::ParseError& end) {
    *out_status = app.exit(end) == 0 ? ended : wrong_command_line;
    return false;
  }
}

}  // namespace regss
