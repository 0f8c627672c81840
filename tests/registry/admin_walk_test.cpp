// The recursive forms: the order of their calls, and how a walk ends. The keys are a tree of the test's own.
#include <kelvane/registry_admin.h>

#include <algorithm>
#include <map>
#include <new>

#include "tests/registry/fronts.h"

namespace kvtest {
namespace {

using Units = std::u16string;

struct Tree {
  Units name;
  std::vector<Tree> children = {};
};

// Behaviours that answer from a tree and write every step down as one word.
class Walk : public Fronts {
 protected:
  struct Node {
    const Tree* tree;
    std::string path;
  };

  // Scripts a walk over the whole tree below handle 1.
  void serve(const Tree& top, const char* operation = "KvIRegUxChmod", const char* value = "mode") {
    operation_ = operation;
    value_ = value;
    nodes_[key_of(1)] = {&top, "top"};
    expect_change();
    expect_open();
    serve_children(top);
  }

  void serve_children(const Tree& tree) {
    recording.script("KvIRegQueryInfoKey", [this](const Call& call) { return tell_info(call); });
    for (const Tree& child : tree.children) {
      expect_enumerate(child);
      expect_change();
      expect_open();
      serve_children(child);
    }
    expect_close();
  }

  void expect_change() {
    recording.script(operation_, [this](const Call& call) { return tell_change(call); });
  }
  void expect_open() {
    recording.script("KvIRegOpenKeyEx", [this](const Call& call) { return tell_open(call); });
  }
  void expect_close() {
    recording.script("KvIRegCloseKey", [this](const Call& call) {
      steps += "close:" + node(call).path + " ";
      return 6;
    });
  }
  // Once more for a name whose bytes do not fit the room for its units and two more.
  void expect_enumerate(const Tree& child) {
    const int times = child.name == long_name ? 2 : 1;
    for (int i = 0; i < times; ++i)
      recording.script("KvIRegEnumKeyEx", [this](const Call& call) { return tell_name(call); });
  }

  const Node& node(const Call& call) { return nodes_.at(key_of(call.raw("key"))); }

  std::uint64_t tell_info(const Call& call) {
    const Tree& tree = *node(call).tree;
    std::size_t longest = 0;
    for (const Tree& child : tree.children) longest = std::max(longest, child.name.size());
    call.store("out_sub_keys", static_cast<DWORD>(tree.children.size()));
    call.store("out_max_sub_key_count", static_cast<DWORD>(longest));
    return 0;
  }
  std::uint64_t tell_name(const Call& call) {
    const Units& name = node(call).tree->children.at(call.raw("index")).name;
    rooms += std::to_string(call["name_count"].count) + " ";
    std::string bytes;
    for (char16_t unit : name + u'\0') bytes += {static_cast<char>(unit >> 8), static_cast<char>(unit)};
    call.store("name_count", static_cast<DWORD>(name.size()));
    call.write("name", bytes);
    return 0;
  }
  std::uint64_t tell_change(const Call& call) {
    EXPECT_EQ(call.raw(value_), 0750u);
    steps += "change:" + child(call).path + " ";
    return failing == child(call).path ? 5 : 0;
  }
  std::uint64_t tell_open(const Call& call) {
    EXPECT_EQ(call.raw("access"), 0x20019u);
    EXPECT_EQ(call.raw("options"), 0u);
    const Node opened_node = child(call);
    const HKEY handle = key_of(nodes_.size() + 1);
    nodes_[handle] = opened_node;
    steps += "open:" + opened_node.path + " ";
    ++opened;
    call.store("out_key", handle);
    return 0;
  }
  // The child that a call names; the key itself when the name is that of the walk's start.
  Node child(const Call& call) {
    const Units& name = call["sub_key"].text;
    const Node& at = node(call);
    if (name == u"start") return at;
    for (const Tree& tree : at.tree->children)
      if (tree.name == name) return {&tree, at.path + "/" + std::string(name.begin(), name.end())};
    ADD_FAILURE() << "no child of " << at.path << " has the name that was given";
    throw std::out_of_range("name");
  }

  // Nine units, which eleven have room for, and eighteen bytes.
  const Units long_name = u"\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9";
  const Tree flat{u"", {{u"a"}, {u"b"}, {u"c"}}};
  const Tree deep{u"", {{u"a", {{u"x"}, {u"y"}}}, {u"b", {{u"z"}}}}};
  std::string steps;
  std::string rooms;
  std::string failing;
  int opened = 0;

 private:
  std::map<HKEY, Node> nodes_;
  const char* operation_ = nullptr;
  const char* value_ = nullptr;
};

TEST_F(Walk, ChangesAKeyWithoutSubKeysOnly) {
  const Tree alone{u""};
  serve(alone);
  EXPECT_EQ(RegUxChmodRec(key_of(1), "start", 0750), 0);
  EXPECT_EQ(steps, "change:top open:top close:top ");
}

TEST_F(Walk, VisitsParentsBeforeChildrenInTheOrderOfEnumeration) {
  serve(deep);
  EXPECT_EQ(RegUxChmodRec(key_of(1), "start", 0750), 0);
  EXPECT_EQ(steps,
            "change:top open:top "
            "change:top/a open:top/a "
            "change:top/a/x open:top/a/x close:top/a/x "
            "change:top/a/y open:top/a/y close:top/a/y "
            "close:top/a "
            "change:top/b open:top/b "
            "change:top/b/z open:top/b/z close:top/b/z "
            "close:top/b "
            "close:top ");
}

TEST_F(Walk, OfOwnersUsesTheirOperation) {
  serve(deep, "KvIRegUxChown", "owner");
  EXPECT_EQ(RegUxChownRec(key_of(1), "start", 0750), 0);
  EXPECT_EQ(entries().find("Chmod"), std::string::npos);
}

TEST_F(Walk, OfGroupsUsesTheirOperation) {
  serve(deep, "KvIRegUxChgrp", "group");
  EXPECT_EQ(RegUxChgrpRec(key_of(1), "start", 0750), 0);
  EXPECT_EQ(entries().find("Chmod"), std::string::npos);
}

TEST_F(Walk, OffersTheLongestNameAndTwoMore) {
  const Tree tree{u"", {{u"abcdefgh"}, {u"a"}}};
  serve(tree);
  EXPECT_EQ(RegUxChmodRec(key_of(1), "start", 0750), 0);
  EXPECT_EQ(rooms, "10 10 ");
}

TEST_F(Walk, ANameOfMoreBytesThanRoomIsAskedForAgain) {
  const Tree tree{u"", {{long_name, {{u"x"}}}, {u"a"}}};
  serve(tree);
  EXPECT_EQ(RegUxChmodRec(key_of(1), "start", 0750), 0);
  EXPECT_EQ(rooms, "11 19 3 11 ");
  EXPECT_EQ(opened, 4);
}

TEST_F(Walk, AFailureAtTheNamedKeyEndsItBeforeAnythingIsOpened) {
  recording.script("KvIRegUxChmod", answer(2));
  EXPECT_EQ(RegUxChmodRec(key, "start", 0750), 2);
  EXPECT_EQ(entries(), "KvIRegUxChmod ");
}

TEST_F(Walk, AKeyThatCannotBeOpenedEndsIt) {
  recording.script("KvIRegOpenKeyEx", answer(5));
  EXPECT_EQ(RegUxChmodRec(key, nullptr, 0750), 5);
  EXPECT_EQ(entries(), "KvIRegUxChmod KvIRegOpenKeyEx ");
  EXPECT_EQ(call(0).raw("sub_key"), 0u);
  EXPECT_EQ(call(1).raw("sub_key"), 0u);
}

TEST_F(Walk, AFailedQuestionForTheCountsEndsItAndClosesTheKey) {
  recording.script("KvIRegOpenKeyEx", answer_key(key_of(77)));
  recording.script("KvIRegQueryInfoKey", answer(1018));
  EXPECT_EQ(RegUxChmodRec(key, "s", 0750), 1018);
  EXPECT_EQ(entries(), "KvIRegUxChmod KvIRegOpenKeyEx KvIRegQueryInfoKey KvIRegCloseKey ");
  EXPECT_EQ(call(3).raw("key"), 77u);
}

TEST_F(Walk, AFailureAtTheSecondChildLeavesTheThirdAlone) {
  failing = "top/b";
  serve(flat);
  EXPECT_EQ(RegUxChmodRec(key_of(1), "start", 0750), 5);
  EXPECT_EQ(steps, "change:top open:top change:top/a open:top/a close:top/a change:top/b close:top ");
  recording.reset();
}

TEST_F(Walk, AFailureDeepDownClosesEveryKeyOnTheWay) {
  failing = "top/a/x";
  serve(deep);
  EXPECT_EQ(RegUxChmodRec(key_of(1), "start", 0750), 5);
  EXPECT_EQ(steps, "change:top open:top change:top/a open:top/a change:top/a/x close:top/a close:top ");
  recording.reset();
}

TEST_F(Walk, AChildThatCannotBeOpenedEndsItAndOnlyTheParentIsClosed) {
  recording.script("KvIRegOpenKeyEx", answer_key(key_of(77)));
  recording.script("KvIRegOpenKeyEx", answer(5));
  recording.script("KvIRegQueryInfoKey", [](const Call& call) {
    call.store<DWORD>("out_sub_keys", 2);
    call.store<DWORD>("out_max_sub_key_count", 1);
    return 0;
  });
  recording.script("KvIRegEnumKeyEx", [](const Call& call) {
    call.store<DWORD>("name_count", 1);
    call.write("name", "\0a\0\0"s);
    return 0;
  });
  EXPECT_EQ(RegUxChmodRec(key, "s", 0750), 5);
  EXPECT_EQ(entries(),
            "KvIRegUxChmod KvIRegOpenKeyEx KvIRegQueryInfoKey KvIRegEnumKeyEx KvIRegUxChmod KvIRegOpenKeyEx "
            "KvIRegCloseKey ");
  EXPECT_EQ(call(4)["sub_key"].text, u"a");
  EXPECT_EQ(call(6).raw("key"), 77u);
}

TEST_F(Walk, ASubKeyThatWentMeanwhileEndsItWith259) {
  recording.script("KvIRegQueryInfoKey", [](const Call& call) {
    call.store<DWORD>("out_sub_keys", 2);
    call.store<DWORD>("out_max_sub_key_count", 1);
    return 0;
  });
  recording.script("KvIRegEnumKeyEx", answer(259));
  EXPECT_EQ(RegUxChmodRec(key, "s", 0750), 259);
  EXPECT_EQ(entries(), "KvIRegUxChmod KvIRegOpenKeyEx KvIRegQueryInfoKey KvIRegEnumKeyEx KvIRegCloseKey ");
}

TEST_F(Walk, AnExceptionClosesTheKeysOnItsWay) {
  recording.script("KvIRegOpenKeyEx", answer_key(key_of(77)));
  recording.script("KvIRegQueryInfoKey", [](const Call&) -> std::uint64_t { throw std::bad_alloc(); });
  EXPECT_THROW(RegUxChmodRec(key, "s", 0750), std::bad_alloc);
  EXPECT_EQ(entries(), "KvIRegUxChmod KvIRegOpenKeyEx KvIRegQueryInfoKey KvIRegCloseKey ");
}

}  // namespace
}  // namespace kvtest
