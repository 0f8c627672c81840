#include "tools/kvreg/browse/session.h"

#include <chrono>

#include "tools/kvreg/failure.h"
#include "tools/kvreg/reg_text/units.h"
#include "tools/kvreg/shown.h"

namespace kvreg {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int fewest_rows = 10, fewest_columns = 40;

// Runs it; what kept it from its work, or an empty text.
template <class Action>
std::string complaint_of(Action action) {
  try {
    action();
    return {};
  } catch (const Failure& failure) {
    return describe(failure);
  } catch (const Complaint& complaint) {
    return complaint.what();
  } catch (const std::bad_alloc&) {
    return "not enough memory";
  }
}

void draw_too_small(Screen& screen) {
  screen.put_text(0, 0, screen.columns(), "The terminal is too small:");
  screen.put_text(1, 0, screen.columns(),
                  std::to_string(fewest_columns) + " by " + std::to_string(fewest_rows) + " is needed");
}

std::string padded(std::string text, std::size_t columns) {
  text.resize(std::max(columns, text.size()), ' ');
  return text;
}

std::vector<std::string> help_lines() {
  std::vector<std::string> lines = {
      "Up, Down, PgUp, PgDn, Home, End   move on the side that is worked on",
      "Tab          changes the side: keys or values",
      "Right, Left  open and close a key, or go into it and out of it",
      "Enter        opens or closes a key, edits a value",
      "F5           reads everything again; others' changes appear by themselves",
      "",
  };
#define KVREG_BROWSE_KEY(key, word, text, action) lines.push_back(padded(std::string(1, key), 13) + text);
#include "tools/kvreg/browse/keys.def"
#undef KVREG_BROWSE_KEY
  lines.insert(lines.end(), {"", "Changes are in the registry at once. \\uXXXX: a unit that is not shown."});
  return lines;
}

}  // namespace

void Session::run() {
  while (!is_over_) {
    const Input input = next_key(nullptr);
    message_ = {};
    tell(complaint_of([&] { take(input); }), true);
  }
}

void Session::draw(Dialog* dialog) {
  screen_.clear();
  if (screen_.rows() < fewest_rows || screen_.columns() < fewest_columns) {
    draw_too_small(screen_);
  } else {
    panes_.draw(screen_, browser_, message_);
    if (dialog != nullptr) dialog->draw(screen_);
  }
  screen_.show();
}

// After a change by anybody.
void Session::look_again() {
  const Clock::time_point start = Clock::now();
  const std::string gone = browser_.path().shown();
  if (browser_.refresh()) tell(gone + " is there no more", true);
  input_.rest_after(Clock::now() - start);
}

Input Session::next_key(Dialog* dialog) {
  for (;;) {
    draw(dialog);
    const Input input = input_.next();
    if (input.kind == Input::Kind::changed) look_again();
    if (input.kind == Input::Kind::resized || input.code == Key_Code::refresh) screen_.show_anew();
    if (input.kind == Input::Kind::key) return input;
  }
}

bool Session::run(Dialog& dialog) {
  while (!dialog.take(next_key(&dialog))) {
  }
  return dialog.is_kept();
}

bool Session::ask(const std::string& title, const std::string& text) {
  Question question(title, text);
  return run(question);
}

bool Session::keep_answer(Dialog& dialog, const std::function<void()>& keep) {
  while (run(dialog)) {
    const std::string complaint = complaint_of(keep);
    if (complaint.empty()) return true;
    dialog.set_error(complaint);
  }
  return false;
}

void Session::take(const Input& input) {
  switch (input.code) {
    case Key_Code::character:
      return take_character(input.character);
    case Key_Code::enter:
      return enter();
    case Key_Code::tab:
      return browser_.change_side();
    case Key_Code::erase:
      return remove();
    case Key_Code::help:
      return help();
    case Key_Code::refresh:
      return look_again();
    default:
      return move(input.code);
  }
}

void Session::move(Key_Code code) {
  const bool is_tree = browser_.side() == Side_Of_Screen::tree;
  switch (code) {
    case Key_Code::up:
      return browser_.move(-1);
    case Key_Code::down:
      return browser_.move(1);
    case Key_Code::page_up:
      return browser_.move(-panes_.rows());
    case Key_Code::page_down:
      return browser_.move(panes_.rows());
    case Key_Code::home:
      return browser_.move_to_first();
    case Key_Code::end:
      return browser_.move_to_last();
    case Key_Code::left:
      return is_tree ? browser_.go_out() : browser_.change_side();
    case Key_Code::right:
      return is_tree ? browser_.go_in() : void();
    default:
      return;
  }
}

void Session::take_character(char32_t character) {
  switch (character) {
#define KVREG_BROWSE_KEY(key, word, text, action) \
  case key:                                       \
    return action();
#include "tools/kvreg/browse/keys.def"
#undef KVREG_BROWSE_KEY
    default:
      return tell("this key does nothing; ? tells which ones do");
  }
}

void Session::tell(std::string text, bool is_error) {
  if (text.empty()) return;
  for (char& each : text)
    if (each == '\n') each = ';';
  message_ = {std::move(text), is_error};
}

void Session::tell_change() {
  if (const Change* const newest = browser_.undo_list().newest()) tell(newest->what() + "; u undoes it");
}

void Session::enter() {
  if (browser_.side() == Side_Of_Screen::tree) return browser_.open_or_close();
  edit_value();
}

void Session::create_key() {
  const Key_Path parent = browser_.path();
  browser_.require_change(parent);
  Line_Dialog dialog("New key", "Its name, below " + parent.shown(), {});
  if (keep_answer(dialog, [&] { browser_.create_key(parent, dialog.text()); })) tell_change();
}

void Session::rename() {
  const Place place = browser_.place();
  browser_.require_change(place.key);
  const std::u16string name = place.value ? *place.value : place.key.name();
  if (!place.value && place.key.sub_path.empty()) browser_.rename_key(place.key, name);
  Line_Dialog dialog("Rename", place.value ? "The new name of the value" : "The new name of the key", name);
  const bool is_kept = keep_answer(dialog, [&] {
    if (place.value) {
      browser_.rename_value(place.key, *place.value, dialog.text());
    } else {
      browser_.rename_key(place.key, dialog.text());
    }
  });
  if (is_kept && dialog.text() != name) tell_change();
}

void Session::remove() {
  const Key_Path key = browser_.path();
  browser_.require_change(key);
  if (browser_.side() == Side_Of_Screen::tree) return remove_key(key);
  if (const std::optional<Value> value = browser_.selected_value()) remove_value(key, *value);
}

void Session::remove_key(const Key_Path& key) {
  std::string below = "with all below it";
  const std::optional<Saved_Tree> tree = browser_.look_at_tree(key);
  if (tree) below += " (" + counted(tree->keys, "key") + ", " + counted(tree->values, "value") + ")";
  std::string question = "Delete the key " + key.shown() + " " + below + "?";
  if (!tree) question += " THIS CANNOT BE UNDONE: it is too large to be remembered, or not all of it may be read.";
  if (!ask("Delete", question)) return tell("nothing was changed");
  if (!tree) {
    browser_.delete_key_for_good(key);
    return tell("the key was deleted for good");
  }
  browser_.delete_key(key);
  tell_change();
}

void Session::remove_value(const Key_Path& key, const Value& value) {
  const std::string name = value.name.empty() ? "(Default)" : shown(value.name);
  if (!ask("Delete", "Delete the value " + name + " of " + key.shown() + "?")) return tell("nothing was changed");
  browser_.delete_value(key, value.name);
  tell_change();
}

void Session::undo() {
  const Change* const newest = browser_.undo_list().newest();
  if (newest == nullptr) return tell("there is nothing to be undone");
  const std::string what = newest->what();
  if (!newest->is_as_left() && !ask("Undo", "Since then somebody has changed the same: " + what + ". Undo it anyway?"))
    return tell("nothing was changed");
  const std::string complaint = complaint_of([&] { browser_.undo(); });
  if (complaint.empty()) return tell("undone: " + what);
  const bool is_forgotten =
      ask("Undo", "It cannot be undone: " + complaint + ". Forget this change, so that those before can be undone?");
  if (is_forgotten) browser_.forget_newest();
  tell(is_forgotten ? "forgotten: " + what : "nothing was changed");
}

void Session::search() {
  Line_Dialog dialog("Search", "A text in names or data; upper and lower case are one", wanted_);
  if (!run(dialog) || dialog.text().empty()) return;
  wanted_ = dialog.text();
  search_from_here();
}

void Session::search_on() {
  if (wanted_.empty()) return search();
  search_from_here();
}

void Session::search_from_here() {
  constexpr auto slice = std::chrono::milliseconds(50);
  const std::unique_ptr<Search> search = browser_.search(wanted_);
  Search::State state = Search::State::looking;
  while (state == Search::State::looking) {
    const Clock::time_point end = Clock::now() + slice;
    while (state == Search::State::looking && Clock::now() < end) state = search->step();
    if (state != Search::State::looking) break;
    tell("searching, " + std::to_string(search->looked_at()) + " keys so far; Esc stops");
    draw(nullptr);
    const std::optional<Input> input = input_.poll();
    if (input && input->code == Key_Code::escape) return tell("the search was stopped");
  }
  const std::string text = "\"" + shown(wanted_) + "\"";
  if (state == Search::State::ended) return tell(text + " is nowhere in names or data");
  browser_.show(search->found());
  tell("found " + text + (search->is_wrapped() ? ", from the start again" : "") + "; n looks for the next one");
}

void Session::go_to() {
  Line_Dialog dialog("Go to", "The path of a key, such as HKCU\\Software", browser_.path().units());
  keep_answer(dialog, [&] {
    const Key_Path path = parse_key_path(dialog.text());
    Key::open(path);
    if (path.machine != browser_.path().machine) throw Bad_Arguments("another machine is browsed by a call of its own");
    browser_.show({path, std::nullopt});
  });
}

void Session::help() {
  Page_Dialog page("Keys", help_lines());
  run(page);
}

void Session::quit() { is_over_ = true; }

}  // namespace kvreg
