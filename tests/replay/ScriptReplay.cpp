#include "ScriptReplay.h"

#include "HostLibrary.h"
#include "ModelSession.h"
#include "TestFiles.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

using Bytes = std::vector<unsigned char>;

HostLibrary& library() {
    static HostLibrary loaded;
    return loaded;
}

scriptmodel::Session& model() {
    static scriptmodel::Session session;
    return session;
}

bool startsWith(const Bytes& bytes, const char* text) {
    const std::size_t n = std::strlen(text);
    return bytes.size() >= n && std::equal(text, text + n, bytes.begin());
}

bool contains(const Bytes& bytes, const char* text) {
    const std::size_t n = std::strlen(text);
    return std::search(bytes.begin(), bytes.end(), text, text + n) != bytes.end();
}

// Bytes as printable text: line feeds as \n (or kept, with `keepLines`),
// bytes outside printable ASCII and backslashes as \xHH.
std::string escaped(const unsigned char* bytes, std::size_t count, bool keepLines = false) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        const unsigned char c = bytes[i];
        char code[8];
        if (c == '\n') {
            text += keepLines ? "\n" : "\\n";
        } else if (c >= 0x20 && c < 0x7F && c != '\\') {
            text += static_cast<char>(c);
        } else {
            std::snprintf(code, sizeof code, "\\x%02X", c);
            text += code;
        }
    }
    return text;
}

std::string escaped(const Bytes& bytes, std::size_t from, std::size_t to) {
    to = std::min(to, bytes.size());
    return from < to ? escaped(bytes.data() + from, to - from) : "";
}

std::string escapedLines(const std::string& text) {
    return escaped(reinterpret_cast<const unsigned char*>(text.data()), text.size(), true);
}

// Where the two outputs part, with 48 bytes of each side around it; [*]
// marks the first differing byte.
std::string firstDifference(const Bytes& fromLibrary, const Bytes& fromModel) {
    const std::size_t at = static_cast<std::size_t>(
        std::mismatch(fromLibrary.begin(), fromLibrary.end(), fromModel.begin(), fromModel.end()).first -
        fromLibrary.begin());
    const std::size_t from = at > 48 ? at - 48 : 0;
    char head[160];
    std::snprintf(head, sizeof head, "outputs differ first at byte %zu (library %zu bytes, model %zu bytes)\n", at,
                  fromLibrary.size(), fromModel.size());
    return head + ("  library: " + escaped(fromLibrary, from, at) + "[*]" + escaped(fromLibrary, at, at + 48)) +
           ("\n  model:   " + escaped(fromModel, from, at) + "[*]" + escaped(fromModel, at, at + 48)) + "\n";
}

bool isExport(const ScriptCall& call) { return call.name.rfind("Export", 0) == 0; }

// The model writes beside the library: the same path text with ".model"
// appended names a file in the same directory, or as surely no file.
std::string modelText(const ScriptCall& call) {
    const std::string text = call.text.value_or("");
    return isExport(call) && !text.empty() ? text + ".model" : text;
}

}  // namespace

std::string ScriptReplay::play(std::uint64_t seed, const std::vector<ScriptCall>& script) {
    const std::string before = model().describe();
    std::string problem;  // the first; the script is played to its end to keep both sides in step
    const auto note = [&](const std::string& what) {
        if (problem.empty()) problem = what;
    };

    ++m_tally.scripts;
    for (const ScriptCall& call : script) {
        const double fromLibrary =
            library().call(call.name.c_str(), call.text ? call.text->c_str() : nullptr, call.number);
        const double fromModel = model().call(call.name, modelText(call), call.number);
        if (!(fromLibrary == fromModel)) {
            char text[200];
            std::snprintf(text, sizeof text, "%s returned %g, the model %g\n", call.name.c_str(), fromLibrary,
                          fromModel);
            note(text);
        }
        if (!isExport(call)) continue;
        ++m_tally.exports;
        if (call.output.empty()) continue;

        const std::string modelFile = call.output + ".model";
        const bool libraryWrote = pathExists(call.output);
        if (libraryWrote != pathExists(modelFile)) {
            note(call.name + (libraryWrote ? " wrote a file, the model none\n" : " wrote no file, the model one\n"));
            continue;
        }
        if (!libraryWrote) {
            ++m_tally.noOutput;
            continue;
        }
        const Bytes fromLibraryFile = readFileBytes(call.output);
        const Bytes fromModelFile = readFileBytes(modelFile);
        if (fromLibraryFile != fromModelFile) {
            note(call.name + ": " + firstDifference(fromLibraryFile, fromModelFile));
            continue;
        }
        tallyOutput(fromLibraryFile);
        std::remove(call.output.c_str());
        std::remove(modelFile.c_str());
    }
    if (problem.empty()) return "";
    return "script of seed " + std::to_string(seed) + ": " + problem + "settings and files before the script:\n" +
           escapedLines(before) + "calls:\n" + escapedLines(listing(script));
}

void ScriptReplay::tallyOutput(const Bytes& output) {
    if (startsWith(output, "#VRML")) {
        m_tally.vrmlShapes += contains(output, "Shape {");
        m_tally.vrmlAppearances += contains(output, "ImageTexture");
        m_tally.vrmlTexCoords += contains(output, "texCoord TextureCoordinate");
        m_tally.vrmlColours += contains(output, "colorPerVertex");
    } else if (startsWith(output, "solid object0 \n")) {
        m_tally.asciiSTLFacets += contains(output, "facet normal");
    } else if (output.size() > 84 && startsWith(output, std::string(80, ' ').c_str())) {
        m_tally.binarySTLTriangles += 1;
    }
}
