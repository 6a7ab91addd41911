#pragma once

#include "RandomScripts.h"

#include <cstdint>
#include <string>
#include <vector>

// Plays host scripts on the built library, loaded with dlopen as the host
// loads it, and on the model of its script calls, side by side. Both are
// loaded once per process, as the host loads the plug-in once, so their
// settings and declared files carry over from script to script (and from
// test to test when the tests share a process); the two stay in step because
// every script goes to both.
class ScriptReplay {
public:
    // What the outputs compared so far contained (read from the library's).
    struct Tally {
        int scripts = 0;
        int exports = 0;
        int noOutput = 0;            // exports to a named file that neither side wrote
        int binarySTLTriangles = 0;  // binary STL files with at least one triangle
        int asciiSTLFacets = 0;      // ASCII STL files with at least one facet
        int vrmlShapes = 0;          // VRML files with at least one Shape
        int vrmlAppearances = 0;     // ... with a texture
        int vrmlTexCoords = 0;       // ... with texture coordinates
        int vrmlColours = 0;         // ... with vertex colours
    };

    // Plays the script on both. Returns "" when every call returned the same
    // value on both sides and every export wrote the same bytes (or no file
    // on either side); otherwise a report naming the seed, the state before
    // the script, its calls and the first difference.
    std::string play(std::uint64_t seed, const std::vector<ScriptCall>& script);

    const Tally& tally() const { return m_tally; }

private:
    void tallyOutput(const std::vector<unsigned char>& output);

    Tally m_tally;
};
