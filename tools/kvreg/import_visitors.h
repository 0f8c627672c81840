// What is done with the statements of a .reg file, one after the other.
#pragma once

#include <optional>

#include "tools/kvreg/key.h"
#include "tools/kvreg/progress.h"
#include "tools/kvreg/reg_text/reader.h"

namespace kvreg {

// Whether the registry can take them at all: roots and limits. Touches nothing.
class Import_Checker : public Reg_Visitor {
 public:
  std::string open_key(std::u16string_view path) override;
  std::string delete_key(std::u16string_view path) override;
  std::string set_value(std::u16string_view name, std::uint32_t type, std::string_view data) override;
  std::string delete_value(std::u16string_view name) override;

 private:
  Progress progress_{"checking", "values"};
};

// Does them. Throws Failure.
class Import_Writer : public Reg_Visitor {
 public:
  std::string open_key(std::u16string_view path) override;
  std::string delete_key(std::u16string_view path) override;
  std::string set_value(std::u16string_view name, std::uint32_t type, std::string_view data) override;
  std::string delete_value(std::u16string_view name) override;
  // Closes the key that is open.
  void close() { key_.reset(); }

 private:
  std::optional<Key> key_;
  Progress progress_{"importing", "values"};
};

// Prints which of them would change something, as the registry is before the first:
//   + KEY                      a key is made
//   - KEY                      it is deleted with all below it
//   + KEY  NAME  TYPE  DATA    a value is made
//   - KEY  NAME  TYPE  DATA    it is deleted, or replaced by the "+" that follows
class Import_Teller : public Reg_Visitor {
 public:
  std::string open_key(std::u16string_view path) override;
  std::string delete_key(std::u16string_view path) override;
  std::string set_value(std::u16string_view name, std::uint32_t type, std::string_view data) override;
  std::string delete_value(std::u16string_view name) override;

 private:
  Key_Path path_;
  std::optional<Key> key_;  // none when it is not there yet
};

}  // namespace kvreg
