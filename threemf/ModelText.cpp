#include "threemf/ModelText.h"

namespace ombrel::threemf {

const std::string_view kContentTypesXml =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">\n"
    "<Default Extension=\"rels\" ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/>\n"
    "<Default Extension=\"model\" ContentType=\"application/vnd.ms-package.3dmanufacturing-3dmodel+xml\"/>\n"
    "</Types>\n";

const std::string_view kRelationshipsXml =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">\n"
    "<Relationship Target=\"/3D/3dmodel.model\" Id=\"rel0\" "
    "Type=\"http://schemas.microsoft.com/3dmanufacturing/2013/01/3dmodel\"/>\n"
    "</Relationships>\n";

namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD";  // U+FFFD

// The length of the well-formed UTF-8 sequence of an XML character at the
// start of `text`, or 0.
std::size_t utf8CharacterLength(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const auto continuation = [&](std::size_t i) { return i < text.size() && (byte(i) & 0xC0) == 0x80; };
    const unsigned char lead = byte(0);
    if (lead < 0x80) return 1;
    if (lead >= 0xC2 && lead <= 0xDF) return continuation(1) ? 2 : 0;
    if (lead >= 0xE0 && lead <= 0xEF) {
        if (!continuation(1) || !continuation(2)) return 0;
        if (lead == 0xE0 && byte(1) < 0xA0) return 0;   // overlong
        if (lead == 0xED && byte(1) >= 0xA0) return 0;  // a surrogate
        // U+FFFE and U+FFFF are not XML characters.
        if (lead == 0xEF && byte(1) == 0xBF && byte(2) >= 0xBE) return 0;
        return 3;
    }
    if (lead >= 0xF0 && lead <= 0xF4) {
        if (!continuation(1) || !continuation(2) || !continuation(3)) return 0;
        if (lead == 0xF0 && byte(1) < 0x90) return 0;   // overlong
        if (lead == 0xF4 && byte(1) >= 0x90) return 0;  // beyond U+10FFFF
        return 4;
    }
    return 0;
}

constexpr char kHexDigits[] = "0123456789ABCDEF";

}  // namespace

std::string xmlAttributeText(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    while (!text.empty()) {
        const char c = text[0];
        std::size_t length = 1;
        switch (c) {
            case '&': out += "&amp;"; break;
            case '<': out += "&lt;"; break;
            case '>': out += "&gt;"; break;
            case '"': out += "&quot;"; break;
            case '\'': out += "&apos;"; break;
            // What an XML reader makes of them in an attribute anyway;
            // character references would keep them, but not every 3MF
            // reader takes those (lib3mf refuses them).
            case '\t':
            case '\n':
            case '\r': out += ' '; break;
            default:
                if (static_cast<unsigned char>(c) < 0x20) {
                    out += kReplacement;
                } else if ((length = utf8CharacterLength(text)) != 0) {
                    out.append(text.data(), length);
                } else {
                    length = 1;
                    out += kReplacement;
                }
        }
        text.remove_prefix(length);
    }
    return out;
}

char* appendColourText(char* out, std::uint32_t mrgb) {
    *out++ = '#';
    for (int shift = 20; shift >= 0; shift -= 4) *out++ = kHexDigits[(mrgb >> shift) & 0xF];
    return out;
}

}  // namespace ombrel::threemf
