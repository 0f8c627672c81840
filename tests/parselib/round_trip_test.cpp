// Whatever the readers can give is written so that it reads back equal.
#include <gtest/gtest.h>

#include <random>

#include "tests/parselib/reading.h"

namespace kvtest {
namespace {

// Texts of frames, at random but the same in every run.
class Text_Maker {
 public:
  explicit Text_Maker(unsigned seed) : random_(seed) {}

  std::string frame() {
    switch (pick(4)) {
      case 0:
        return "(" + atom() + ")";
      case 1:
        return "[" + atom() + " " + scalar() + "]";
      default:
        return "(" + atom() + slots(4) + ")";
    }
  }

 private:
  size_t pick(size_t count) { return random_() % count; }

  std::string text_of(const std::string& characters, size_t most) {
    std::string text;
    for (size_t length = pick(most + 1); length > 0; --length) text += characters[pick(characters.size())];
    return text;
  }

  std::string space() { return std::vector<std::string>{"", " ", "\n", "\t \n", "; note\n"}[pick(5)]; }

  std::string atom() { return "a" + text_of("!#$%*+,-./0123456789:<=>?@ABCXYZ\\_abcxyz{}~", 30); }

  std::string number() {
    const std::string sign = pick(2) == 0 ? "-" : "";
    const std::string whole = std::to_string(random_() % 3'000'000'000);
    if (pick(2) == 0) return sign + whole;
    const std::string real = sign + whole + "." + text_of("0123456789", 20);
    return pick(2) == 0 ? real : real + (pick(2) == 0 ? "e" : "E-") + std::to_string(pick(330));
  }

  // A newline behind it: what follows on the same line might be drawn into it.
  std::string string() { return "\"" + text_of("\\\\\\abc \t;()[]'|\xc3\xa9", 12) + pair() + "\"\n"; }

  std::string pair() { return pick(3) == 0 ? "\\\"" + text_of("ab\\", 3) : ""; }

  std::string scalar() { return pick(3) == 0 ? string() : pick(2) == 0 ? atom() : number(); }

  std::string value(int depth) {
    switch (depth > 0 ? pick(5) : 4) {
      case 0:
        return "()";
      case 1:
        return "(" + space() + value(depth - 1) + ")";
      case 2:
        return "(" + value(depth - 1) + " " + value(depth - 1) + space() + value(depth - 1) + " " + value(depth - 1) +
               ")";
      case 3:
        return "[" + atom() + slots(depth - 1) + "]";
      default:
        return scalar();
    }
  }

  std::string slots(int depth) {
    std::string text;
    for (size_t count = 1 + pick(4); count > 0; --count) text += " " + slot(depth) + space();
    return text;
  }

  std::string slot(int depth) {
    switch (depth > 0 ? pick(4) : 0) {
      case 1:
        return "[" + atom() + "]";
      case 2:
        return "[" + atom() + slots(depth - 1) + "]";
      case 3:
        return "(" + atom() + " " + value(depth - 1) + " " + value(depth - 1) + ")";
      default:
        return "(" + atom() + " " + value(depth) + ")";
    }
  }

  std::mt19937 random_;
};

TEST(RoundTrip, EveryFrameThatIsReadIsWrittenSoThatItReadsBack) {
  Text_Maker maker(1);
  for (int i = 0; i < 1500; ++i) {
    const std::string text = maker.frame();
    const Frame first{kvistrstream(text.c_str())};
    ASSERT_NE(first.get_key(), nullptr) << text;
    const std::string once = written(first);
    const Frame second{kvistrstream(once.c_str())};
    ASSERT_EQ(shown(&second), shown(&first)) << text;
    ASSERT_EQ(written(second), once) << text;
  }
}

TEST(RoundTrip, EveryListOfTheFrameIsReadByTheOtherReaderToo) {
  Text_Maker maker(2);
  int lists = 0;
  for (int i = 0; i < 1000; ++i) {
    const Frame frame{kvistrstream(maker.frame().c_str())};
    Assoc_Iterator next(frame.slots());
    while (const Association* slot = next.next()) {
      const auto* list = dynamic_cast<const Sequence*>(slot->value());
      if (list == nullptr || list->is_empty() || written(*list).find('[') != std::string::npos) continue;
      ASSERT_EQ(list_read(written(*list)), shown(list));
      ++lists;
    }
  }
  EXPECT_GT(lists, 100);
}

TEST(RoundTrip, StringsThatEndWithABackslashReadBack) {
  const Frame first{kvistrstream("(a (b \"C:\\\"\n\"D:\\\"\n) (c \"E:\\\"\n))")};
  EXPECT_EQ(shown(&first), "a{b=<\"C:\\\" \"D:\\\"> c=\"E:\\\"}");
  const Frame second{kvistrstream(written(first).c_str())};
  EXPECT_EQ(shown(&second), shown(&first));
}

}  // namespace
}  // namespace kvtest
