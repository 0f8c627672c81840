#include "tools/kvreg/browse/terminal_input.h"

#define NCURSES_NOMACROS
#define NCURSES_WIDECHAR 1
#include <curses.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>

#include "tools/kvreg/failure.h"
#include "tools/kvreg/terminal.h"

namespace kvreg {
namespace {

using Clock = std::chrono::steady_clock;

volatile sig_atomic_t is_resized = 0;

void note_size(int) { is_resized = 1; }

struct Known_Key {
  wint_t code;
  Key_Code key;
};

constexpr Known_Key function_keys[] = {
    {KEY_ENTER, Key_Code::enter}, {KEY_BACKSPACE, Key_Code::backspace}, {KEY_DC, Key_Code::erase},
    {KEY_IC, Key_Code::insert},   {KEY_LEFT, Key_Code::left},           {KEY_RIGHT, Key_Code::right},
    {KEY_UP, Key_Code::up},       {KEY_DOWN, Key_Code::down},           {KEY_HOME, Key_Code::home},
    {KEY_END, Key_Code::end},     {KEY_PPAGE, Key_Code::page_up},       {KEY_NPAGE, Key_Code::page_down},
    {KEY_F(1), Key_Code::help},   {KEY_F(2), Key_Code::keep},           {KEY_F(5), Key_Code::refresh},
    {KEY_BTAB, Key_Code::tab},
};

constexpr wint_t control(char letter) { return static_cast<wint_t>(letter & 0x1F); }

constexpr Known_Key control_keys[] = {
    {control('M'), Key_Code::enter}, {control('J'), Key_Code::enter},      {control('['), Key_Code::escape},
    {control('I'), Key_Code::tab},   {control('H'), Key_Code::backspace},  {0x7F, Key_Code::backspace},
    {control('D'), Key_Code::keep},  {control('U'), Key_Code::erase_line}, {control('K'), Key_Code::by_number},
    {control('A'), Key_Code::home},  {control('E'), Key_Code::end},        {control('L'), Key_Code::refresh},
};

template <std::size_t count>
Key_Code find_key(const Known_Key (&keys)[count], wint_t code) {
  for (const Known_Key& each : keys)
    if (each.code == code) return each.key;
  return Key_Code::none;
}

Input input_of(int kind, wint_t code) {
  if (kind == KEY_CODE_YES) return {Input::Kind::key, find_key(function_keys, code)};
  if (code < 0x20 || code == 0x7F) return {Input::Kind::key, find_key(control_keys, code)};
  return {Input::Kind::key, Key_Code::character, static_cast<char32_t>(code)};
}

// The terminal's size may have changed again meanwhile; the last one counts.
void take_size() {
  winsize size{};
  is_resized = 0;
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_row > 0 && size.ws_col > 0)
    resizeterm(size.ws_row, size.ws_col);
}

}  // namespace

sigset_t hold_signals() {
  sigset_t held, before;
  sigemptyset(&held);
  for (const int each : {SIGINT, SIGTERM, SIGHUP, SIGWINCH}) sigaddset(&held, each);
  pthread_sigmask(SIG_BLOCK, &held, &before);
  return before;
}

Terminal_Input::Terminal_Input(Change_Watch& watch) : watch_(watch), signals_before_(hold_signals()) {
  for (const int each : {SIGINT, SIGTERM, SIGHUP, SIGWINCH}) sigdelset(&signals_before_, each);
  struct sigaction action {};
  action.sa_handler = note_size;
  sigaction(SIGWINCH, &action, nullptr);
}

Terminal_Input::~Terminal_Input() { signal(SIGWINCH, SIG_DFL); }

Input Terminal_Input::next() {
  for (;;) {
    if (const std::optional<Input> input = poll()) return *input;
    if (is_changed_ && Clock::now() >= rest_until_) {
      is_changed_ = false;
      watch_.take();
      return {Input::Kind::changed};
    }
    wait();
  }
}

std::optional<Input> Terminal_Input::poll() {
  constexpr timespec no_time{};
  ppoll(nullptr, 0, &no_time, &signals_before_);
  stop_if_interrupted();
  if (is_resized != 0) {
    take_size();
    return Input{Input::Kind::resized};
  }
  return read_key();
}

void Terminal_Input::rest_after(Clock::duration looking) {
  constexpr auto shortest = std::chrono::milliseconds(50);
  rest_until_ = Clock::now() + std::max<Clock::duration>(shortest, 4 * looking);
}

std::optional<Input> Terminal_Input::read_key() {
  wint_t code = 0;
  const int kind = get_wch(&code);
  if (kind == ERR) return std::nullopt;
  if (kind == KEY_CODE_YES && code == KEY_RESIZE) return Input{Input::Kind::resized};
  return input_of(kind, code);
}

// Until there is a key, a change that may be told or a signal.
void Terminal_Input::wait() {
  pollfd sources[2] = {{STDIN_FILENO, POLLIN, 0}, {is_changed_ ? -1 : watch_.descriptor(), POLLIN, 0}};
  timespec rest{};
  if (is_changed_) {
    const auto left = std::max(rest_until_ - Clock::now(), Clock::duration::zero());
    const auto whole = std::chrono::duration_cast<std::chrono::nanoseconds>(left).count();
    rest = {static_cast<time_t>(whole / 1'000'000'000), static_cast<long>(whole % 1'000'000'000)};
  }
  if (ppoll(sources, 2, is_changed_ ? &rest : nullptr, &signals_before_) <= 0) return;
  if (sources[1].revents != 0) is_changed_ = true;
  int waiting = 0;
  const bool is_gone = (sources[0].revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
  const bool is_at_end =
      (sources[0].revents & POLLIN) != 0 && ioctl(STDIN_FILENO, FIONREAD, &waiting) == 0 && waiting == 0;
  if (is_gone || is_at_end) throw Interrupted{SIGHUP};
}

}  // namespace kvreg
