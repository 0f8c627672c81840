// The makers of values.

#include <kelvane/frames.h>

#include <cstdlib>

#include <locale.h>

inline namespace kelvane {
namespace {

// Never freed: it serves as long as the process lives.
locale_t plain_locale() {
  static const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
  return plain;
}

constexpr int decimal = 10;

// As strtol, cut to 32 bits. Digits that fit in any case are summed up here.
int integer_of(const char* text) {
  constexpr int most_digits = 9;
  const bool is_negative = *text == '-';
  const char* const digits = is_negative ? text + 1 : text;
  const char* at = digits;
  int sum = 0;
  for (; *at >= '0' && *at <= '9' && at < digits + most_digits; ++at) sum = decimal * sum + (*at - '0');
  if (*at != '\0') return static_cast<int>(std::strtol(text, nullptr, decimal));
  return is_negative ? -sum : sum;
}

}  // namespace

Slot_Machine::~Slot_Machine() = default;

One_Arm_Bandit::~One_Arm_Bandit() = default;

int One_Arm_Bandit::integer(Bone*& out_value, char* text) const {
  out_value = new Integer(integer_of(text));
  return KV_NUMBER_TOKEN;
}

int One_Arm_Bandit::real(Bone*& out_value, char* text) const {
  out_value = new Real(strtod_l(text, nullptr, plain_locale()));
  return KV_NUMBER_TOKEN;
}

int One_Arm_Bandit::string(Bone*& out_value, char* text) const {
  out_value = new clString(text);
  return KV_STRING_TOKEN;
}

Bone* One_Arm_Bandit::atom(clAtom& atom) const { return &atom; }

Bone* One_Arm_Bandit::frame(clAtom& name, Sequence& slots) const { return new Frame(*new clAtom(name), slots); }

// The argument may be no sequence at all: only its address is used.
Bone* One_Arm_Bandit::list(Sequence& list) const { return reinterpret_cast<Bone*>(&list); }

}  // namespace kelvane
