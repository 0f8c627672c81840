// kvreg-browse [-r] [KEY]: the browser, which kvreg starts for its verb "browse". It is a program of its own so that
// the other verbs do not load what a screen needs.

#include <clocale>
#include <string>
#include <vector>

#include "tools/kvreg/browse/session.h"
#include "tools/kvreg/command_line.h"
#include "tools/kvreg/terminal.h"
#include "tools/kvreg/verb.h"

namespace kvreg {
namespace {

int browse(const std::optional<Key_Path>& start, bool is_read_only) {
  Browser browser(start, is_read_only);
  hold_signals();
  Change_Watch watch(browser.tree().tops());
  Terminal_Input input(watch);
  Screen screen;
  browser.refresh();
  Session(browser, screen, input).run();
  return exit_good;
}

}  // namespace
}  // namespace kvreg

int main(int argc, char** argv) {
  std::setlocale(LC_CTYPE, "");
  std::vector<std::string> arguments(argv + 1, argv + argc);
  const bool is_read_only = !arguments.empty() && arguments.front() == "-r";
  if (is_read_only) arguments.erase(arguments.begin());
  kvreg::note_signals();
  return kvreg::guarded_run("kvreg browse", [&] {
    std::optional<kvreg::Key_Path> start;
    if (!arguments.empty()) start = kvreg::parse_key_path(arguments.front());
    return kvreg::browse(start, is_read_only);
  });
}
