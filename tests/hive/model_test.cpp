// Random operations against a model that is too simple to be wrong: after each of them counts and maxima of
// the touched key are exact, and at the end the whole tree is the model's.
#include <algorithm>
#include <map>
#include <random>

#include "tests/hive/registry_on.h"

namespace {

using namespace hivetest;

struct Model_Key {
  std::map<std::u16string, Model_Key> children;  // names of ASCII capitals and digits only
  std::map<std::u16string, std::string> values;
  std::u16string class_name;
};

std::u16string random_name(std::mt19937& random) {
  std::size_t length = 1 + random() % 12;
  return std::u16string(length, static_cast<char16_t>(u'A' + random() % 4));
}

void expect_counts(const hive::Key_Counts& counts, const Model_Key& model) {
  std::size_t child_units = 0;
  std::size_t class_units = 0;
  std::size_t value_units = 0;
  std::size_t value_size = 0;
  for (const auto& [name, child] : model.children) {
    child_units = std::max(child_units, name.size());
    class_units = std::max(class_units, child.class_name.size());
  }
  for (const auto& [name, data] : model.values) {
    value_units = std::max(value_units, name.size());
    value_size = std::max(value_size, data.size());
  }
  ASSERT_EQ(counts.sub_keys, model.children.size());
  ASSERT_EQ(counts.max_sub_key_units, child_units);
  ASSERT_EQ(counts.max_class_units, class_units);
  ASSERT_EQ(counts.values, model.values.size());
  ASSERT_EQ(counts.max_value_name_units, value_units);
  ASSERT_EQ(counts.max_value_size, value_size);
}

class Model : public testing::Test {
 public:
  // One random operation on a key and its model.
  void step(const Key& key, Model_Key& model) {
    std::u16string name = random_name(random_);
    switch (random_() % 6) {
      case 0:
      case 1: {
        std::string data(random_() % 3 == 0 ? random_() % 2000 : random_() % 6, 'd');
        ASSERT_EQ(put(*registry_, key, name, data), Status::ok);
        model.values[name] = data;
        break;
      }
      case 2:
        ASSERT_EQ(registry_->remove_value(key, name), model.values.erase(name) != 0 ? Status::ok : Status::not_found);
        break;
      case 3:
      case 4:
        make(key, model, name);
        break;
      default:
        remove(key, model, name);
    }
  }

  void make(const Key& key, Model_Key& model, const std::u16string& name) {
    std::u16string class_name(random_() % 5, u'c');
    bool is_new = model.children.find(name) == model.children.end();
    Key child;
    bool created = false;
    ASSERT_EQ(registry_->create(key, name, {.class_name = class_name}, &child, &created), Status::ok);
    ASSERT_EQ(created, is_new);
    if (is_new) model.children[name].class_name = class_name;
    if (random_() % 2 == 0) step(child, model.children[name]);
    expect_counts(counts_of(*registry_, child), model.children[name]);
  }

  void remove(const Key& key, Model_Key& model, const std::u16string& name) {
    auto child = model.children.find(name);
    Status expected = child == model.children.end()     ? Status::not_found
                      : !child->second.children.empty() ? Status::has_children
                                                        : Status::ok;
    ASSERT_EQ(registry_->remove(key, name), expected);
    if (expected == Status::ok) model.children.erase(child);
  }

  void expect_same(const Key& key, const Model_Key& model) {
    Names keys;
    Names values;
    for (const auto& [name, child] : model.children) keys.push_back(name);
    for (const auto& [name, data] : model.values) values.push_back(name);
    EXPECT_EQ(key_names(*registry_, key), keys);
    EXPECT_EQ(value_names(*registry_, key), values);
    for (const auto& [name, data] : model.values) EXPECT_EQ(get(*registry_, key, name), data);
    for (const auto& [name, child] : model.children) {
      Key opened;
      ASSERT_EQ(registry_->open(key, name, &opened), Status::ok);
      expect_same(opened, child);
    }
  }

 protected:
  Temp_Folder folder_;
  std::unique_ptr<Registry> registry_ = registry_on(folder_.path());
  std::mt19937 random_{20240607};
};

TEST_F(Model, CountsAndMaximaAreExactAfterEveryOperation) {
  Key top = make_key(*registry_, root_of(*registry_), u"top");
  Model_Key model;
  for (int i = 0; i < 3000 && !HasFatalFailure(); ++i) {
    step(top, model);
    expect_counts(counts_of(*registry_, top), model);
  }
  expect_same(top, model);
}

}  // namespace
