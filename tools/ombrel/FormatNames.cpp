#include "tools/ombrel/FormatNames.h"

const char* formatName(ombrel::Format format) {
    switch (format) {
        case ombrel::Format::BinaryStl:
            return "binary STL";
        case ombrel::Format::AsciiStl:
            return "ASCII STL";
        case ombrel::Format::Vrml:
            return "VRML";
        case ombrel::Format::ThreeMF:
            return "3MF";
    }
    return "";
}

const char* formatTitle(ombrel::Format format) {
    return format == ombrel::Format::BinaryStl ? "Binary STL" : formatName(format);
}
