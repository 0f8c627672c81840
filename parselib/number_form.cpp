#include "parselib/number_form.h"

inline namespace kelvane {
namespace {

const char* behind_digits(const char* at) {
  while (*at >= '0' && *at <= '9') ++at;
  return at;
}

const char* behind_sign(const char* at) { return *at == '-' ? at + 1 : at; }

// Behind an exponent; null when there is none.
const char* behind_exponent(const char* at) {
  if (*at != 'e' && *at != 'E') return nullptr;
  const char* const digits = behind_sign(at + 1);
  const char* const end = behind_digits(digits);
  return end != digits ? end : nullptr;
}

}  // namespace

Number_Form number_form(const char* text, std::size_t length) {
  const char* const end = text + length;
  const char* const digits = behind_sign(text);
  const char* at = behind_digits(digits);
  if (at == end) return Number_Form::integer;
  if (at == digits || *at != '.') return Number_Form::none;
  at = behind_digits(at + 1);
  if (at == end) return Number_Form::real;
  return behind_exponent(at) == end ? Number_Form::real : Number_Form::none;
}

}  // namespace kelvane
