// What a .reg text says, noted statement by statement.
#pragma once

#include <string>
#include <vector>

#include "tools/kvreg/reg_text/reader.h"
#include "tools/kvreg/reg_text/reg_types.h"

struct Statement {
  enum class Kind { open, remove, set, unset } kind;
  std::u16string name;
  std::uint32_t type = 0;
  std::string data = {};

  bool operator==(const Statement&) const = default;
};

class Statements : public kvreg::Reg_Visitor {
 public:
  std::string open_key(std::u16string_view path) override {
    return note({Statement::Kind::open, std::u16string(path)});
  }
  std::string delete_key(std::u16string_view path) override {
    return note({Statement::Kind::remove, std::u16string(path)});
  }
  std::string set_value(std::u16string_view name, std::uint32_t type, std::string_view data) override {
    return note({Statement::Kind::set, std::u16string(name), type, std::string(data)});
  }
  std::string delete_value(std::u16string_view name) override {
    return note({Statement::Kind::unset, std::u16string(name)});
  }

  std::vector<Statement> all;

 private:
  std::string note(Statement statement) {
    all.push_back(std::move(statement));
    return {};
  }
};
