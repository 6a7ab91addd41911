#include "support/QMLogArgument.h"

#include "support/QMString.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

QMLogArgument::QMLogArgument(const QMString& value) : m_kind(Kind::Text), m_text(value.c_str()) {}

long long QMLogArgument::asSigned() const {
    switch (m_kind) {
        case Kind::Signed:
            return m_signed;
        case Kind::Unsigned:
            return static_cast<long long>(m_unsigned);
        case Kind::Real:
            return static_cast<long long>(m_real);
        case Kind::Text:
            return 0;
    }
    return 0;
}

unsigned long long QMLogArgument::asUnsigned() const {
    return m_kind == Kind::Unsigned ? m_unsigned : static_cast<unsigned long long>(asSigned());
}

double QMLogArgument::asReal() const {
    switch (m_kind) {
        case Kind::Signed:
            return static_cast<double>(m_signed);
        case Kind::Unsigned:
            return static_cast<double>(m_unsigned);
        case Kind::Real:
            return m_real;
        case Kind::Text:
            return 0.0;
    }
    return 0.0;
}

namespace {

bool isFlag(char c) { return c == '-' || c == '+' || c == ' ' || c == '#' || c == '0'; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isLengthModifier(char c) {
    return c == 'h' || c == 'l' || c == 'L' || c == 'q' || c == 'j' || c == 'z' || c == 't';
}

// Formats one conversion; `modifiers` holds the flags, width and precision without
// length modifier, for example "-8.3".
void appendConversion(std::string& out, const std::string& modifiers, char conversion, const QMLogArgument& argument) {
    char small[512];
    std::string format = "%" + modifiers;
    int written = 0;
    switch (conversion) {
        case 'd':
        case 'i':
            format += "lld";
            written = std::snprintf(small, sizeof small, format.c_str(), argument.asSigned());
            break;
        case 'u':
        case 'o':
        case 'x':
        case 'X':
            format += "ll";
            format += conversion;
            written = std::snprintf(small, sizeof small, format.c_str(), argument.asUnsigned());
            break;
        case 'c':
            format += 'c';
            written = std::snprintf(small, sizeof small, format.c_str(), static_cast<int>(argument.asSigned()));
            break;
        case 'p':
            format += 'p';
            written = std::snprintf(small, sizeof small, format.c_str(),
                                    reinterpret_cast<void*>(static_cast<std::uintptr_t>(argument.asUnsigned())));
            break;
        case 's': {
            if (argument.kind() != QMLogArgument::Kind::Text) {
                // A number given for a text prints as the number itself.
                std::string number = argument.kind() == QMLogArgument::Kind::Real ? std::to_string(argument.asReal())
                                                                                  : std::to_string(argument.asSigned());
                format += 's';
                written = std::snprintf(small, sizeof small, format.c_str(), number.c_str());
                break;
            }
            const char* text = argument.asText() ? argument.asText() : "(null)";
            format += 's';
            int needed = std::snprintf(nullptr, 0, format.c_str(), text);
            if (needed > 0) {
                std::string long_text(static_cast<size_t>(needed) + 1, '\0');
                std::snprintf(long_text.data(), long_text.size(), format.c_str(), text);
                out.append(long_text.data(), static_cast<size_t>(needed));
            }
            return;
        }
        default:  // e E f F g G a A
            format += conversion;
            written = std::snprintf(small, sizeof small, format.c_str(), argument.asReal());
            break;
    }
    if (written > 0) out.append(small, std::min<size_t>(static_cast<size_t>(written), sizeof small - 1));
}

}  // namespace

std::string formatLogLine(const char* format, std::initializer_list<QMLogArgument> arguments) {
    std::string out;
    if (!format) return out;
    const QMLogArgument* next = arguments.begin();
    const char* p = format;
    while (*p) {
        if (*p != '%') {
            out += *p++;
            continue;
        }
        const char* start = p++;
        if (*p == '%') {
            out += '%';
            ++p;
            continue;
        }
        std::string modifiers;
        while (isFlag(*p)) modifiers += *p++;
        while (isDigit(*p)) modifiers += *p++;
        if (*p == '.') {
            modifiers += *p++;
            while (isDigit(*p)) modifiers += *p++;
        }
        while (isLengthModifier(*p)) ++p;
        char conversion = *p;
        if (conversion == '\0' || !std::strchr("diuoxXceEfFgGaAsp", conversion) || next == arguments.end()) {
            // Not a conversion this formatter knows, or no argument left for it.
            out.append(start, static_cast<size_t>((conversion ? p + 1 : p) - start));
            if (conversion) ++p;
            continue;
        }
        ++p;
        appendConversion(out, modifiers, conversion, *next++);
    }
    return out;
}
