#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// The texts of a 3MF package that are not numbers: the package's fixed
// parts, names as XML attribute values, and colours.

namespace ombrel::threemf {

constexpr char kContentTypesPart[] = "[Content_Types].xml";
constexpr char kRelationshipsPart[] = "_rels/.rels";
constexpr char kModelPart[] = "3D/3dmodel.model";

// [Content_Types].xml: the content types of the relationships and the model.
extern const std::string_view kContentTypesXml;
// _rels/.rels: the package's start part is the model.
extern const std::string_view kRelationshipsXml;

// `text` as the value of an XML attribute in double quotes: & < > " ' as
// the predefined entities; tab, line feed and carriage return as spaces;
// other control characters, which XML cannot hold, and bytes that are not
// UTF-8 as U+FFFD, so the model stays well-formed whatever a file's name
// holds.
std::string xmlAttributeText(std::string_view text);

// "#RRGGBB" of an MRGB word (red in bits 16-23, green 8-15, blue 0-7; the
// mask byte is not a colour). Writes 7 characters at `out`, returns the end.
char* appendColourText(char* out, std::uint32_t mrgb);

}  // namespace ombrel::threemf
