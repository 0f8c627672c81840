// The D-Bus signature of each field, put together while compiling.
#pragma once

#include <cstddef>

#include "impl/wire/calls.h"

namespace impl::wire {

// A text of a length that the compiler knows.
template <std::size_t length>
struct Text {
  char units[length + 1] = {};
};

template <std::size_t room>
constexpr Text<room - 1> text(const char (&literal)[room]) {
  Text<room - 1> made;
  for (std::size_t i = 0; i + 1 < room; ++i) made.units[i] = literal[i];
  return made;
}

template <std::size_t first, std::size_t second>
constexpr Text<first + second> operator+(const Text<first>& left, const Text<second>& right) {
  Text<first + second> whole;
  for (std::size_t i = 0; i < first; ++i) whole.units[i] = left.units[i];
  for (std::size_t i = 0; i < second; ++i) whole.units[first + i] = right.units[i];
  return whole;
}

template <class Field>
struct Signature;

template <class... Fields>
constexpr auto signature_of(const std::tuple<Fields&...>*) {
  return (text("") + ... + Signature<Fields>::value);
}

// Of a record's fields in their order.
template <class Record>
inline constexpr auto fields_signature =
    signature_of(static_cast<decltype(fields_of(std::declval<Record&>()))*>(nullptr));

template <>
struct Signature<Number> {
  static constexpr auto value = text("u");
};
template <>
struct Signature<Long_Number> {
  static constexpr auto value = text("t");
};
template <>
struct Signature<Bytes> {
  static constexpr auto value = text("ay");
};
template <>
struct Signature<Numbers> {
  static constexpr auto value = text("au");
};
template <>
struct Signature<Descriptor> {
  static constexpr auto value = text("h");
};
template <>
struct Signature<Memory> {
  static constexpr auto value = text("ah");
};
template <class Record>
struct Signature<std::vector<Record>> {
  static constexpr auto value = text("a(") + fields_signature<Record> + text(")");
};

}  // namespace impl::wire
