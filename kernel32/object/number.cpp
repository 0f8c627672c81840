// Numbers.
#include <kelvane/number.h>
#include <kelvane/stream.h>

Number::~Number() = default;

Integer::~Integer() = default;

double Integer::value() const { return number_; }

void Integer::write(kvostream& stream) const { stream << number_; }

Real::~Real() = default;

double Real::value() const { return number_; }

void Real::write(kvostream& stream) const { stream << number_; }
