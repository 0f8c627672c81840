// What the browser shows and does, on the registry of the test's own HOME, without a screen.
#include <poll.h>
#include <winerror.h>
#include <winnt.h>
#include <winreg.h>

#include "tools/kvreg/browse/browser.h"
#include "tools/kvreg/browse/change_watch.h"
#include "tools/kvreg/failure.h"
#include "tools/kvreg/table_call.h"
#include "tools/kvreg/value_text.h"

namespace {

using namespace kvreg;

Key_Path path_of(const char* written) { return parse_key_path(written); }

Value text(std::u16string_view name, std::u16string_view content) {
  return {std::u16string(name), REG_SZ, stored_text(content)};
}

// Keys and values to be looked at.
class Browse_Registry : public testing::Test {
 protected:
  Browse_Registry() {
    delete_tree(path_of("HKCU\\S"));
    put("HKCU\\S", text(u"first", u"1"));
    put("HKCU\\S", text(u"second", u"2"));
    put("HKCU\\S\\A\\Deep", text(u"v", u"in the deep"));
    put("HKCU\\S\\B", text(u"", u"default"));
  }

  static void put(const char* path, const Value& value) { Key::create(path_of(path)).set_value(value); }
  static std::u16string content(const char* path, std::u16string_view name) {
    const std::optional<Value> value = Key::open(path_of(path)).find_value(name);
    return value ? data_units(*value) : u"(none)";
  }
};

class Browse_Model : public Browse_Registry {
 protected:
  static std::vector<std::u16string> names(const Browser& browser) {
    std::vector<std::u16string> all;
    for (const Key_Tree::Row& each : browser.tree().rows())
      all.push_back(std::u16string(static_cast<std::size_t>(each.depth), u' ') + each.path.name());
    return all;
  }
  static bool has_row(const Browser& browser, std::u16string_view row) {
    for (const std::u16string& each : names(browser))
      if (each == row) return true;
    return false;
  }

  Browser browser_{path_of("HKCU\\S"), false};
};

TEST_F(Browse_Model, BeginsAtTheFirstRootWithNothingOpen) {
  const Browser browser(std::nullopt, false);
  EXPECT_EQ(names(browser), (std::vector<std::u16string>{u"HKEY_LOCAL_MACHINE", u"HKEY_CURRENT_USER",
                                                         u"HKEY_CLASSES_ROOT", u"HKEY_USERS", u"HKEY_CURRENT_CONFIG"}));
  EXPECT_EQ(browser.path().shown(), "HKEY_LOCAL_MACHINE");
}

TEST_F(Browse_Model, BeginsAtAKeyWithWhatIsBelowIt) {
  EXPECT_EQ(browser_.path().shown(), "HKEY_CURRENT_USER\\S");
  EXPECT_TRUE(has_row(browser_, u"  A"));
  EXPECT_FALSE(has_row(browser_, u"   Deep"));
  EXPECT_EQ(browser_.values().rows().size(), 2u);
  EXPECT_THROW(Browser(path_of("HKCU\\Missing"), false), Failure);
}

TEST_F(Browse_Model, GoesIntoKeysAndOutOfThem) {
  browser_.go_in();
  EXPECT_EQ(browser_.path().shown(), "HKEY_CURRENT_USER\\S\\A");
  browser_.go_in();
  EXPECT_TRUE(has_row(browser_, u"   Deep"));
  browser_.go_in();
  EXPECT_EQ(browser_.path().shown(), "HKEY_CURRENT_USER\\S\\A\\Deep");
  EXPECT_EQ(browser_.values().row()->value.name, u"v");
  browser_.go_out();
  EXPECT_EQ(browser_.path().shown(), "HKEY_CURRENT_USER\\S\\A");
  browser_.go_out();
  EXPECT_FALSE(has_row(browser_, u"   Deep"));
}

TEST_F(Browse_Model, MovesOnTheSideThatIsWorkedOn) {
  browser_.change_side();
  browser_.move(1);
  EXPECT_EQ(browser_.values().row()->value.name, u"second");
  browser_.move(100);
  EXPECT_EQ(browser_.values().selected(), 1u);
  browser_.move(-100);
  EXPECT_EQ(browser_.values().selected(), 0u);
  browser_.change_side();
  browser_.move_to_first();
  EXPECT_EQ(browser_.path().shown(), "HKEY_LOCAL_MACHINE");
  browser_.move_to_last();
  EXPECT_EQ(browser_.path().shown(), "HKEY_CURRENT_CONFIG");
}

TEST_F(Browse_Model, UndoesTheChangesOfAValueOneAfterTheOther) {
  browser_.set_value(path_of("HKCU\\S"), text(u"first", u"new"));
  browser_.set_value(path_of("HKCU\\S"), text(u"first", u"newer"));
  EXPECT_EQ(content("HKCU\\S", u"first"), u"newer");
  EXPECT_EQ(browser_.undo_list().newest()->what(), "the value first was changed");
  browser_.undo();
  EXPECT_EQ(content("HKCU\\S", u"first"), u"new");
  browser_.undo();
  EXPECT_EQ(content("HKCU\\S", u"first"), u"1");
  EXPECT_THROW(browser_.undo(), Complaint);
}

TEST_F(Browse_Model, UndoesTheCreationTheRenamingAndTheDeletionOfAValue) {
  browser_.create_value(path_of("HKCU\\S"), text(u"third", u"3"));
  EXPECT_EQ(browser_.place().value, u"third");
  browser_.rename_value(path_of("HKCU\\S"), u"third", u"Third");
  browser_.rename_value(path_of("HKCU\\S"), u"Third", u"fourth");
  browser_.delete_value(path_of("HKCU\\S"), u"fourth");
  EXPECT_EQ(content("HKCU\\S", u"fourth"), u"(none)");
  EXPECT_TRUE(browser_.undo_list().newest()->is_as_left());
  browser_.undo();
  EXPECT_EQ(content("HKCU\\S", u"fourth"), u"3");
  browser_.undo();
  EXPECT_EQ(content("HKCU\\S", u"fourth"), u"(none)");
  EXPECT_EQ(browser_.values().row()->value.name, u"Third");
  EXPECT_TRUE(browser_.undo_list().newest()->is_as_left());
  browser_.undo();
  EXPECT_EQ(browser_.values().row()->value.name, u"third");
  browser_.undo();
  EXPECT_EQ(content("HKCU\\S", u"third"), u"(none)");
}

TEST_F(Browse_Model, RefusesAValueWhoseNameIsTaken) {
  EXPECT_THROW(browser_.create_value(path_of("HKCU\\S"), text(u"FIRST", u"x")), Bad_Arguments);
  EXPECT_THROW(browser_.rename_value(path_of("HKCU\\S"), u"second", u"First"), Bad_Arguments);
  EXPECT_EQ(content("HKCU\\S", u"first"), u"1");
  EXPECT_EQ(browser_.undo_list().count(), 0u);
}

TEST_F(Browse_Model, CreatesAKeyAndSelectsIt) {
  browser_.create_key(path_of("HKCU\\S"), u"New");
  EXPECT_EQ(browser_.path().shown(), "HKEY_CURRENT_USER\\S\\New");
  EXPECT_TRUE(browser_.undo_list().newest()->is_as_left());
  browser_.undo();
  EXPECT_FALSE(Key::find(path_of("HKCU\\S\\New")));
  EXPECT_EQ(browser_.path().shown(), "HKEY_CURRENT_USER\\S");
}

TEST_F(Browse_Model, RefusesNamesThatNoKeyHas) {
  EXPECT_THROW(browser_.create_key(path_of("HKCU\\S"), u""), Bad_Arguments);
  EXPECT_THROW(browser_.create_key(path_of("HKCU\\S"), u"a\\b"), Bad_Arguments);
  EXPECT_THROW(browser_.create_key(path_of("HKCU\\S"), u"a"), Failure);
  EXPECT_THROW(browser_.create_key(path_of("HKCU\\S"), std::u16string(257, u'x')), Failure);
  EXPECT_EQ(browser_.undo_list().count(), 0u);
}

TEST_F(Browse_Model, TellsAKeyThatWasFilledSinceItWasCreated) {
  browser_.create_key(path_of("HKCU\\S"), u"New");
  put("HKCU\\S\\New", text(u"v", u"of another program"));
  EXPECT_FALSE(browser_.undo_list().newest()->is_as_left());
}

TEST_F(Browse_Model, TellsAValueThatAnotherProgramHasChangedSince) {
  browser_.set_value(path_of("HKCU\\S"), text(u"first", u"new"));
  EXPECT_TRUE(browser_.undo_list().newest()->is_as_left());
  put("HKCU\\S", text(u"first", u"of another program"));
  EXPECT_FALSE(browser_.undo_list().newest()->is_as_left());
}

TEST_F(Browse_Model, RenamesAKeyThatIsOpenAndBack) {
  browser_.show({path_of("HKCU\\S\\A\\Deep"), std::nullopt});
  browser_.rename_key(path_of("HKCU\\S\\A"), u"Z");
  EXPECT_EQ(browser_.path().shown(), "HKEY_CURRENT_USER\\S\\Z");
  EXPECT_TRUE(has_row(browser_, u"   Deep"));
  EXPECT_EQ(content("HKCU\\S\\Z\\Deep", u"v"), u"in the deep");
  browser_.undo();
  EXPECT_EQ(browser_.path().shown(), "HKEY_CURRENT_USER\\S\\A");
  EXPECT_TRUE(has_row(browser_, u"   Deep"));
  EXPECT_EQ(content("HKCU\\S\\A\\Deep", u"v"), u"in the deep");
}

TEST_F(Browse_Model, PutsADeletedKeyBackWithAllBelowIt) {
  const auto tree = browser_.look_at_tree(path_of("HKCU\\S"));
  ASSERT_TRUE(tree);
  EXPECT_EQ(tree->keys, 4u);
  EXPECT_EQ(tree->values, 4u);
  browser_.delete_key(path_of("HKCU\\S"));
  EXPECT_FALSE(Key::find(path_of("HKCU\\S")));
  EXPECT_EQ(browser_.path().shown(), "HKEY_CURRENT_USER");
  browser_.undo();
  EXPECT_EQ(browser_.path().shown(), "HKEY_CURRENT_USER\\S");
  EXPECT_EQ(content("HKCU\\S\\A\\Deep", u"v"), u"in the deep");
  EXPECT_EQ(content("HKCU\\S\\B", u""), u"default");
}

TEST_F(Browse_Model, PutsTheRightsOfADeletedKeyBack) {
  const Key key = Key::create(path_of("HKCU\\S\\Private"));
  ASSERT_EQ(call<Slot::KvIRegUxChmod>(key.handle(), nullptr, DWORD{0500}, nullptr), DWORD{ERROR_SUCCESS});
  const DWORD mode = key.rights().mode;
  browser_.refresh();
  const auto tree = browser_.look_at_tree(path_of("HKCU\\S\\Private"));
  ASSERT_TRUE(tree);
  EXPECT_EQ(tree->top.rights.mode, mode);
  delete_tree(path_of("HKCU\\S\\Private"));
  restore_tree(path_of("HKCU\\S\\Private"), tree->top);
  EXPECT_EQ(Key::open(path_of("HKCU\\S\\Private")).rights().mode, mode);
}

TEST_F(Browse_Model, KeepsADeletionThatCannotBeUndone) {
  browser_.delete_key(path_of("HKCU\\S\\B"));
  put("HKCU\\S\\B", text(u"v", u"of another program"));
  EXPECT_THROW(browser_.undo(), Failure);
  EXPECT_EQ(browser_.undo_list().count(), 1u);
  EXPECT_EQ(content("HKCU\\S\\B", u"v"), u"of another program");
  browser_.forget_newest();
  EXPECT_EQ(browser_.undo_list().newest(), nullptr);
}

TEST_F(Browse_Model, RemembersNoTreeBeyondTheLimits) {
  EXPECT_TRUE(save_tree(path_of("HKCU\\S"), {1000, 8}));
  EXPECT_FALSE(save_tree(path_of("HKCU\\S"), {1000, 7}));
  EXPECT_FALSE(save_tree(path_of("HKCU\\S"), {20, 100}));
}

TEST_F(Browse_Model, DeletesForGoodWithoutRemembering) {
  browser_.delete_key_for_good(path_of("HKCU\\S\\A"));
  EXPECT_FALSE(Key::find(path_of("HKCU\\S\\A")));
  EXPECT_EQ(browser_.undo_list().count(), 0u);
}

TEST_F(Browse_Model, RefusesToDeleteOrRenameARoot) {
  EXPECT_THROW(browser_.look_at_tree(path_of("HKCU")), Complaint);
  EXPECT_THROW(browser_.delete_key_for_good(path_of("HKCU")), Complaint);
  EXPECT_THROW(browser_.rename_key(path_of("HKCU"), u"X"), Complaint);
}

TEST_F(Browse_Model, ForgetsTheOldestOfManyChanges) {
  for (int i = 0; i < 101; ++i) browser_.set_value(path_of("HKCU\\S"), text(u"first", i % 2 == 0 ? u"even" : u"odd"));
  EXPECT_EQ(browser_.undo_list().count(), 100u);
  while (browser_.undo_list().newest() != nullptr) browser_.undo();
  EXPECT_EQ(content("HKCU\\S", u"first"), u"even");
}

TEST_F(Browse_Model, ForgetsTheOldestOfLargeChangesButTheLastOne) {
  Undo_List list;
  const Value large{u"v", REG_BINARY, std::string(40 * 1024 * 1024, 'x')};
  list.push(deleting_value(path_of("HKCU\\S"), large));
  list.push(deleting_value(path_of("HKCU\\S"), large));
  EXPECT_EQ(list.count(), 1u);
}

TEST_F(Browse_Model, ChangesNothingWhenItIsAskedToOnlyRead) {
  Browser reader(path_of("HKCU\\S"), true);
  EXPECT_EQ(reader.read_only_reason(), "as was asked for");
  EXPECT_THROW(reader.create_key(path_of("HKCU\\S"), u"New"), Complaint);
  EXPECT_THROW(reader.set_value(path_of("HKCU\\S"), text(u"first", u"x")), Complaint);
  EXPECT_THROW(reader.delete_value(path_of("HKCU\\S"), u"first"), Complaint);
  EXPECT_THROW(reader.delete_key(path_of("HKCU\\S")), Complaint);
  EXPECT_THROW(reader.delete_key_for_good(path_of("HKCU\\S")), Complaint);
  EXPECT_THROW(reader.rename_key(path_of("HKCU\\S"), u"T"), Complaint);
  EXPECT_EQ(content("HKCU\\S", u"first"), u"1");
}

TEST_F(Browse_Model, KeepsWhatIsSelectedWhenOthersChangeKeysAndValues) {
  browser_.change_side();
  browser_.move(1);
  put("HKCU\\S", text(u"a new one", u"x"));
  put("HKCU\\A key before", text(u"v", u"x"));
  EXPECT_FALSE(browser_.refresh());
  EXPECT_EQ(browser_.path().shown(), "HKEY_CURRENT_USER\\S");
  EXPECT_EQ(browser_.values().row()->value.name, u"second");
  EXPECT_EQ(browser_.values().rows().size(), 3u);
  delete_tree(path_of("HKCU\\A key before"));
}

TEST_F(Browse_Model, GoesToTheKeyAboveWhenItsOwnIsGone) {
  browser_.show({path_of("HKCU\\S\\A\\Deep"), std::nullopt});
  delete_tree(path_of("HKCU\\S\\A"));
  EXPECT_TRUE(browser_.refresh());
  EXPECT_EQ(browser_.path().shown(), "HKEY_CURRENT_USER\\S");
}

TEST_F(Browse_Model, ShowsNoMoreOfAValueThanAScreenCould) {
  put("HKCU\\S", {u"large", REG_BINARY, std::string(100'000, 'x')});
  browser_.show({path_of("HKCU\\S"), u"large"});
  EXPECT_EQ(browser_.values().row()->size, 100'000u);
  EXPECT_EQ(browser_.values().row()->value.data.size(), 2048u);
  EXPECT_EQ(browser_.selected_value()->data.size(), 100'000u);
}

// All places of the user's from the selected one on, until the first comes again. They are found below HKEY_USERS, too.
std::vector<std::string> places(Browser& browser, std::u16string_view wanted) {
  std::vector<std::string> found;
  for (;;) {
    const std::unique_ptr<Search> search = browser.search(wanted);
    Search::State state = Search::State::looking;
    while (state == Search::State::looking) state = search->step();
    if (state == Search::State::ended) return found;
    browser.show(search->found());
    if (browser.path().root->handle != HKEY_CURRENT_USER) continue;
    std::string place = browser.path().shown();
    if (search->found().value) place += " " + shown_name({*search->found().value, REG_NONE, {}});
    if (!found.empty() && found.front() == place) return found;
    found.push_back(place);
  }
}

TEST_F(Browse_Model, FindsNamesOfKeysNamesOfValuesAndDataInTheOrderOfTheTree) {
  put("HKCU\\S\\A", text(u"Needle", u"x"));
  put("HKCU\\S\\B", text(u"", u"a NEEDLE in data"));
  Key::create(path_of("HKCU\\S\\C needle"));
  put("HKCU\\S", text(u"second", u"needle"));
  const std::string top = "HKEY_CURRENT_USER\\S";
  EXPECT_EQ(places(browser_, u"needle"),
            (std::vector<std::string>{top + " second", top + "\\A Needle", top + "\\B (Default)", top + "\\C needle"}));
}

TEST_F(Browse_Model, GoesOnFromTheStartWhenASearchHasComeToTheEnd) {
  browser_.show({path_of("HKCU\\S\\B"), std::nullopt});
  EXPECT_EQ(places(browser_, u"in the deep"), (std::vector<std::string>{"HKEY_CURRENT_USER\\S\\A\\Deep v"}));
}

TEST_F(Browse_Model, FindsNothingWhereNothingIs) {
  EXPECT_TRUE(places(browser_, u"no such text").empty());
  EXPECT_EQ(browser_.path().shown(), "HKEY_CURRENT_USER\\S");
}

bool is_told(const Change_Watch& watch) {
  constexpr int patience = 60'000;
  pollfd told = {watch.descriptor(), POLLIN, 0};
  return poll(&told, 1, patience) == 1;
}

TEST_F(Browse_Model, IsToldOfChangesAgainAndAgain) {
  Change_Watch watch(browser_.tree().tops());
  put("HKCU\\S\\A\\Deep", text(u"v", u"other"));
  EXPECT_TRUE(is_told(watch));
  watch.take();
  put("HKCU\\S\\A\\Deep", text(u"v", u"another"));
  EXPECT_TRUE(is_told(watch));
  watch.take();
  delete_tree(path_of("HKCU\\S\\B"));
  EXPECT_TRUE(is_told(watch));
}

}  // namespace
