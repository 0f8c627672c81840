// What asks a person for something, in a frame over the browser. Whoever opened it runs it until it is over and looks
// then whether the answer is to be kept.
#pragma once

#include <string>
#include <vector>

#include "tools/kvreg/browse/hex_edit.h"
#include "tools/kvreg/browse/screen.h"
#include "tools/kvreg/browse/terminal_input.h"
#include "tools/kvreg/browse/text_edit.h"

namespace kvreg {

class Dialog {
 public:
  virtual ~Dialog() = default;
  virtual void draw(Screen& screen) = 0;
  // True when it is over.
  virtual bool take(const Input& input) = 0;

  bool is_kept() const { return is_kept_; }
  // Told below what is edited, when it could not be kept; until the next key.
  void set_error(std::string error) { error_ = std::move(error); }

 protected:
  // Both end the dialog.
  bool keep();
  bool drop();
  void forget_error() { error_.clear(); }
  // A frame of so many rows in the middle with an inside of so many columns at most; the inside.
  struct Inside {
    int row, column, rows, columns;
  };
  static Inside put_frame(Screen& screen, int rows, int columns, const std::string& title);
  // The last row of the inside: what was wrong, or the keys.
  void put_last_row(Screen& screen, const Inside& inside, const std::string& keys) const;

 private:
  bool is_kept_ = false;
  std::string error_;
};

// Yes or no; kept is yes.
class Question : public Dialog {
 public:
  Question(std::string title, std::string text) : title_(std::move(title)), text_(std::move(text)) {}
  void draw(Screen& screen) override;
  bool take(const Input& input) override;

 private:
  std::string title_;
  std::string text_;
};

// Collects the four digits behind Ctrl-K, which stand for any unit.
class Unit_By_Number {
 public:
  bool is_collecting() const { return left_ > 0; }
  void begin();
  // Another key than a digit gives it up. The unit behind the last digit, else -1.
  int take(const Input& input);

 private:
  int left_ = 0;
  int unit_ = 0;
};

class Line_Dialog : public Dialog {
 public:
  // about stands above the line.
  Line_Dialog(std::string title, std::string about, std::u16string text);
  void draw(Screen& screen) override;
  bool take(const Input& input) override;
  const std::u16string& text() const { return line_.text(); }

 private:
  std::string title_;
  std::string about_;
  Line_Edit line_;
  Unit_By_Number by_number_;
};

class Texts_Dialog : public Dialog {
 public:
  Texts_Dialog(std::string title, const std::vector<std::u16string>& texts) : title_(std::move(title)), texts_(texts) {}
  void draw(Screen& screen) override;
  bool take(const Input& input) override;
  std::vector<std::u16string> texts() const { return texts_.texts(); }

 private:
  void edit(const Input& input);

  std::string title_;
  Text_Edit texts_;
  Unit_By_Number by_number_;
  std::size_t first_ = 0;
};

class Bytes_Dialog : public Dialog {
 public:
  Bytes_Dialog(std::string title, std::string bytes) : title_(std::move(title)), bytes_(std::move(bytes)) {}
  void draw(Screen& screen) override;
  bool take(const Input& input) override;
  const std::string& bytes() const { return bytes_.bytes(); }

 private:
  void edit(const Input& input);
  void put_row(Screen& screen, int row, int column, std::size_t start) const;

  std::string title_;
  Hex_Edit bytes_;
  std::size_t first_row_ = 0;
  int shown_rows_ = 1;
};

class Choice_Dialog : public Dialog {
 public:
  Choice_Dialog(std::string title, std::vector<std::string> choices)
      : title_(std::move(title)), choices_(std::move(choices)) {}
  void draw(Screen& screen) override;
  bool take(const Input& input) override;
  std::size_t chosen() const { return chosen_; }

 private:
  std::string title_;
  std::vector<std::string> choices_;
  std::size_t chosen_ = 0;
};

// Lines to be read; any key ends it, but those that move in it.
class Page_Dialog : public Dialog {
 public:
  Page_Dialog(std::string title, std::vector<std::string> lines) : title_(std::move(title)), lines_(std::move(lines)) {}
  void draw(Screen& screen) override;
  bool take(const Input& input) override;

 private:
  std::string title_;
  std::vector<std::string> lines_;
  std::size_t first_ = 0;
  int shown_rows_ = 1;
};

}  // namespace kvreg
