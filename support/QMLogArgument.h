#pragma once

#include "support/OmbrelApi.h"

#include <cstdint>
#include <initializer_list>
#include <string>

class QMString;

// One argument of a printf-style log line, kept with its kind so that a line
// is formatted only from the arguments that were really passed: a format that
// asks for more (a script text holding "%s", say) prints the surplus
// conversions literally instead of reading memory that holds no argument.
class OMBREL_API QMLogArgument {
public:
    enum class Kind { Signed, Unsigned, Real, Text };

    QMLogArgument(int value) : m_kind(Kind::Signed), m_signed(value) {}
    QMLogArgument(long value) : m_kind(Kind::Signed), m_signed(value) {}
    QMLogArgument(long long value) : m_kind(Kind::Signed), m_signed(value) {}
    QMLogArgument(unsigned value) : m_kind(Kind::Unsigned), m_unsigned(value) {}
    QMLogArgument(unsigned long value) : m_kind(Kind::Unsigned), m_unsigned(value) {}
    QMLogArgument(unsigned long long value) : m_kind(Kind::Unsigned), m_unsigned(value) {}
    QMLogArgument(double value) : m_kind(Kind::Real), m_real(value) {}
    QMLogArgument(const char* value) : m_kind(Kind::Text), m_text(value) {}
    QMLogArgument(char* value) : m_kind(Kind::Text), m_text(value) {}
    QMLogArgument(const QMString& value);

    Kind kind() const { return m_kind; }
    long long asSigned() const;
    unsigned long long asUnsigned() const;
    double asReal() const;
    const char* asText() const { return m_text; }

private:
    Kind m_kind;
    union {
        long long m_signed;
        unsigned long long m_unsigned;
        double m_real;
        const char* m_text;
    };
};

// Formats a printf-style line from typed arguments. Conversions d i u o x X c
// e E f F g G a A s p and %% are understood with their flags, width, precision
// and length modifiers; a conversion without an argument left is copied as it
// stands, and a null text prints as "(null)".
OMBREL_API std::string formatLogLine(const char* format, std::initializer_list<QMLogArgument> arguments);
