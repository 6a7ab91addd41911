// The dynamic symbol table of the shared library: every script-callable
// export under its plain name, the documented C++ interface under mangled
// names, and nothing of the internals.
#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <sstream>
#include <string>

namespace {

std::set<std::string> definedDynamicSymbols(bool demangle) {
    std::string command =
        std::string("nm -D --defined-only ") + (demangle ? "-C " : "") + "'" + OMBREL_LIBRARY_PATH + "'";
    std::set<std::string> symbols;
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return symbols;
    char line[4096];
    while (std::fgets(line, sizeof line, pipe)) {
        std::string text(line);
        if (!text.empty() && text.back() == '\n') text.pop_back();
        // "<address> <type> <name>"
        std::size_t first = text.find(' ');
        std::size_t second = first == std::string::npos ? first : text.find(' ', first + 1);
        if (second != std::string::npos) symbols.insert(text.substr(second + 1));
    }
    pclose(pipe);
    return symbols;
}

const char* const kScriptExports[] = {
    "InitExporter",
    "DeclareFlipAndSwitch",
    "DeclareBinaryOrASCII",
    "DeclareHeight",
    "DeclareExportVertexColors",
    "StartDeclareVekFiles",
    "AddOneVekFile",
    "SetTextureFileNameForLastVek",
    "DeclareLastVekInvisible",
    "EndDeclareVekFiles",
    "DeleteDeclaredVekFiles",
    "ExportSTLAllDeclaredVek",
    "ExportVRMLAllDeclaredVek",
    "InitBBox3D",
    "AddBBox3D",
    "GetBBoxFromVekFile",
    "SetCopySrc",
    "DoCopyTo",
    "FileDelete",
    "System",
    "GetNumProcs",
    "PrintInLog",
};

}  // namespace

TEST(ExportedSymbols, EveryScriptCallIsExportedUnderItsPlainName) {
    const std::set<std::string> symbols = definedDynamicSymbols(false);
    ASSERT_FALSE(symbols.empty()) << "nm found no symbols in " << OMBREL_LIBRARY_PATH;
    for (const char* name : kScriptExports) EXPECT_EQ(symbols.count(name), 1u) << name;
}

TEST(ExportedSymbols, LinkedInterfaceIsExportedUnderMangledNames) {
    const std::set<std::string> symbols = definedDynamicSymbols(true);
    for (const char* name :
         {"computeAllVekFilesBBox()", "getDeclaredVekFileNames()", "getDeclaredTextureFileNames()",
          "getDeclaredVekFileVisibility()", "buildMatrix(QMMatrix4f&, float, BBox const&)",
          "QMString::getValidFilePath() const", "BBox::add(QMVector3f const&)", "KelvraHelper::setVersion(double)",
          "InitBBox3D(char const*, double, char*, int, char*, int, char**)",
          "AddBBox3D(char const*, double, char*, int, char*, int, char**)",
          "GetBBoxFromVekFile(char const*, double, char*, int, char*, int, char**)"})
        EXPECT_EQ(symbols.count(name), 1u) << name;
}

TEST(ExportedSymbols, InternalClassesStayHidden) {
    const std::set<std::string> symbols = definedDynamicSymbols(true);
    for (const std::string& symbol : symbols) {
        EXPECT_EQ(symbol.find("QMSTLExport"), std::string::npos) << symbol;
        EXPECT_EQ(symbol.find("QMVekIO"), std::string::npos) << symbol;
        EXPECT_EQ(symbol.find("QMVRMLExport"), std::string::npos) << symbol;
        EXPECT_EQ(symbol.find("s_declaredHeight"), std::string::npos) << symbol;
    }
}
