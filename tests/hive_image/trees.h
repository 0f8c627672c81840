// Trees for the tests of images: a recorder that writes down what a visitor sees, and a small tree to begin
// with.
#pragma once

#include <string>
#include <vector>

#include "hive/image/image.h"
#include "hive/image/user_image.h"
#include "hive/tree.h"

namespace kvtest {

// Printable form of a text whose units are Latin-1.
inline std::string narrow(std::u16string_view text) {
  std::string result;
  for (char16_t unit : text) result.push_back(static_cast<char>(unit));
  return result;
}

// One line for each record. A sink that counts whether it was finished.
class Recorder : public hive::Tree_Sink {
 public:
  hive::Status begin_key(const hive::Key_Record& key) override {
    lines.push_back("key " + narrow(key.name) + " class " + narrow(key.class_name) + " written " +
                    std::to_string(key.last_write_time) + " rights " + std::to_string(key.mode) + " " +
                    std::to_string(key.owner) + " " + std::to_string(key.group) + " flags " +
                    std::to_string(key.flags));
    return answer;
  }
  hive::Status value(const hive::Value_Record& value) override {
    lines.push_back("value " + narrow(value.name) + " type " + std::to_string(value.type) + " data " +
                    std::string(reinterpret_cast<const char*>(value.data), value.size));
    return answer;
  }
  hive::Status end_key() override {
    lines.push_back("end");
    return answer;
  }
  hive::Status finish(const hive::Image_Head& head) override {
    finished_with.push_back(head);
    return answer;
  }

  std::vector<std::string> lines;
  std::vector<hive::Image_Head> finished_with;
  hive::Status answer = hive::Status::ok;
};

inline hive::Hive_Mark mark(unsigned char first_byte, std::uint64_t number) {
  hive::Hive_Mark result;
  result.identity[0] = first_byte;
  result.number = number;
  return result;
}

inline hive::Value_Record value_of(std::u16string_view name, std::uint32_t type, std::string_view data) {
  return {name, type, reinterpret_cast<const unsigned char*>(data.data()), static_cast<std::uint32_t>(data.size())};
}

inline hive::Key_Record key_named(std::u16string_view name) {
  hive::Key_Record key;
  key.name = name;
  return key;
}

// A root with a value, and a key "a" with a class, a value and a key "b" in it.
inline hive::Status walk_small_tree(hive::Tree_Visitor& visitor) {
  using hive::Status;
  const auto give = [&](Status status) { return status == Status::ok; };
  const bool whole = give(visitor.begin_key({})) && give(visitor.value(value_of(u"", 1, "default"))) &&
                     give(visitor.begin_key({u"a", u"cls", 7, 0750, 1000, 100, hive::key_flag_link})) &&
                     give(visitor.value(value_of(u"v", 4, {"\1\0\0\0", 4}))) &&
                     give(visitor.begin_key(key_named(u"b"))) && give(visitor.end_key()) && give(visitor.end_key()) &&
                     give(visitor.end_key());
  return whole ? Status::ok : Status::io_failed;
}

inline const std::vector<std::string> small_tree_lines = {
    "key  class  written 0 rights 0 0 0 flags 0",
    "value  type 1 data default",
    "key a class cls written 7 rights 488 1000 100 flags 1",
    std::string("value v type 4 data \1\0\0\0", 24),
    "key b class  written 0 rights 0 0 0 flags 0",
    "end",
    "end",
    "end",
};

// A live hive with the small tree.
class Small_Source : public hive::Tree_Source {
 public:
  explicit Small_Source(hive::Image_Head head) : head_(head) {}

  hive::Status walk(hive::Image_Head* out_head, hive::Tree_Visitor& visitor) override {
    ++walks;
    *out_head = head_;
    return answer == hive::Status::ok ? walk_small_tree(visitor) : answer;
  }

  int walks = 0;
  hive::Status answer = hive::Status::ok;

 private:
  hive::Image_Head head_;
};

inline std::vector<unsigned char> small_image(hive::Image_Head head = {mark(1, 2), mark(3, 4)}) {
  Small_Source source(head);
  std::vector<unsigned char> image;
  if (hive::make_user_image(source, &image) != hive::Status::ok) image.clear();
  return image;
}

}  // namespace kvtest
