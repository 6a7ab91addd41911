#include "RandomScripts.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <limits>

namespace {

using Text = std::optional<std::string>;

// The keyword with every letter in a random case.
std::string anyCase(ReplayRandom& random, const std::string& keyword) {
    std::string word = keyword;
    for (char& c : word) c = random.chance(0.5) ? static_cast<char>(std::tolower(static_cast<unsigned char>(c))) : c;
    return word;
}

// The keyword in some case, or a text that is not it: near misses, other
// words, the empty text, a null text.
Text optionWord(ReplayRandom& random, const std::string& keyword, double keywordChance,
                const std::vector<std::string>& others) {
    if (random.chance(keywordChance)) return anyCase(random, keyword);
    if (random.chance(0.08)) return std::nullopt;
    return random.pick(others);
}

const std::vector<std::string> kNotBinary = {"ASCII",         "ascii",  "",        "BINARY ",
                                             " BINARY",       "BIN",    "BINARYY", "BINARY\t",
                                             "B\xC4\xB0NARY", "b1nary", "YES",     "Binary\n"};
const std::vector<std::string> kNotYes = {"NO",   "no", "Y",     "TRUE",   "1",      "",
                                          "YES ", "YE", "yes\n", "\331ES", "BINARY", "oui"};

double randomHeight(ReplayRandom& random) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    switch (random.below(12)) {
        case 0:
            return 0.0;
        case 1:
            return -0.0;
        case 2:
            return 1.0;
        case 3:
            return 100.0;
        case 4:
            return random.uniform(0.1, 1000);
        case 5:
            return -random.uniform(0.1, 500);
        case 6:  // tiny, down to what single precision rounds to zero
            return random.pick({1e-6, 1e-30, 1e-45, 4.9e-324, 1e-300});
        case 7:  // huge, up to what single precision makes infinite
            return random.pick({1e20, 1e38, 3.5e38, 1e300, inf, -inf});
        case 8:
            return random.chance(0.5) ? nan : -nan;
        case 9:
            return random.between(1, 2000);
        case 10:
            return random.uniform(0, 10);
        default:
            return random.pick({12.7, 0.001, 254.0});
    }
}

ScriptCall optionCall(ReplayRandom& random, const ScriptOdds& odds) {
    switch (random.below(10)) {
        case 0:
        case 1:
        case 2:
            return {"DeclareHeight", std::nullopt, randomHeight(random)};
        case 3:
        case 4:
            return {"DeclareBinaryOrASCII", optionWord(random, "BINARY", odds.binaryWord, kNotBinary)};
        case 5:
        case 6:
            return {"DeclareExportVertexColors", optionWord(random, "YES", odds.yesWord, kNotYes)};
        case 7:
            return {"DeclareFlipAndSwitch", std::nullopt,
                    random.chance(0.7) ? double(random.below(16)) : random.uniform(-100, 100)};
        default:
            return {"InitExporter", std::nullopt, random.pick({3.12, 3.1, 0.0, 2.5, random.uniform(0, 10)})};
    }
}

// A path text naming `path`: as it is, or through the "volume:" forms that
// name the same file ("Disk:junk/..." loses its first component).
Text pathText(ReplayRandom& random, const std::string& path, double unusual) {
    if (!random.chance(4 * unusual)) return path;
    return random.pick<Text>({"Disk:" + path, ":" + path, "Disk:junk" + path, path});
}

// Texture names with and without directories, and names that lose
// everything to their directory.
Text textureText(ReplayRandom& random) {
    switch (random.below(14)) {
        case 0:
            return "tex.png";
        case 1:
            return "maps/wood.jpg";
        case 2:
            return "/Volumes/Art/textures/skin 2.tga";
        case 3:
            return "C:\\Images\\marble.bmp";
        case 4:
            return "mixed/dir\\name.tif";
        case 5:
            return "dir/";
        case 6:
            return "";
        case 7:
            return std::nullopt;
        case 8:
            return "with space \"quoted\" %s %d.png";
        case 9:
            return std::string(random.between(100, 400), 'x') + ".png";
        case 10:
            return "t\xE9xture.png";
        case 11:
            return "\\leading";
        case 12:
            return "a/b/c/d/e/f.png";
        default:
            return "Disk:folder:tex.png";
    }
}

// An export to a new file in `directory`, or to a text naming no file.
ScriptCall exportCall(ReplayRandom& random, const ScriptOdds& odds, const std::string& directory,
                      const std::string& stem) {
    const bool stl = random.chance(odds.stl);
    const std::string name = stl ? "ExportSTLAllDeclaredVek" : "ExportVRMLAllDeclaredVek";
    const std::string path = directory + "/" + stem + (stl ? ".stl" : ".wrl");
    if (random.chance(odds.unusual)) {
        const std::string missing = directory + "/no-such-directory/" + stem + ".out";
        return random.pick<ScriptCall>(
            {{name, missing, 0.0, missing}, {name, std::nullopt, 0.0, ""}, {name, "", 0.0, ""}});
    }
    return {name, pathText(random, path, odds.unusual), 0.0, path};
}

}  // namespace

std::vector<ScriptCall> randomScript(std::uint64_t seed, const std::string& directory, const ScriptOdds& odds) {
    ReplayRandom random(seed);
    std::vector<ScriptCall> script;
    const auto someOptions = [&] {
        for (int n = random.between(0, odds.maxOptionCalls); n > 0; --n) script.push_back(optionCall(random, odds));
    };
    const std::string stem = directory + "/s" + std::to_string(seed);

    someOptions();
    if (!random.chance(odds.unusual)) script.push_back({"StartDeclareVekFiles"});
    if (random.chance(odds.unusual))
        script.push_back(
            random.pick<ScriptCall>({{"SetTextureFileNameForLastVek", "early.png"}, {"DeclareLastVekInvisible"}}));

    const int files = random.chance(odds.unusual) ? 0 : random.between(1, odds.maxFiles);
    for (int i = 0; i < files; ++i) {
        const std::string path = stem + "-f" + std::to_string(i) + ".vek";
        writeRandomVekFile(random, path, odds.files);
        const Text text = random.chance(odds.unusual) ? random.pick<Text>({std::nullopt, "", "s.vek"})
                                                      : pathText(random, path, odds.unusual);
        script.push_back({"AddOneVekFile", text});
        if (random.chance(odds.unusual)) script.push_back({"AddOneVekFile", text});
        if (random.chance(0.4)) script.push_back({"SetTextureFileNameForLastVek", textureText(random)});
        if (random.chance(0.15)) script.push_back({"DeclareLastVekInvisible"});
        if (random.chance(0.2)) script.push_back(optionCall(random, odds));
    }
    if (random.chance(0.95)) script.push_back({"EndDeclareVekFiles"});

    const int exports = random.between(1, odds.maxExports);
    for (int e = 0; e < exports; ++e) {
        someOptions();
        script.push_back(exportCall(random, odds, directory, "s" + std::to_string(seed) + "-out" + std::to_string(e)));
    }
    return script;
}

std::string listing(const std::vector<ScriptCall>& script) {
    std::string text;
    for (const ScriptCall& call : script) {
        text += "  " + call.name + "(";
        if (call.text)
            text += "\"" + *call.text + "\"";
        else
            text += "null";
        char number[40];
        std::snprintf(number, sizeof number, ", %.17g)\n", call.number);
        text += number;
    }
    return text;
}
