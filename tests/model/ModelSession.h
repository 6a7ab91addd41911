#pragma once

#include <string>
#include <vector>

namespace scriptmodel {

// What the plug-in's export script calls do, as seen from the host script:
// the settings and the list of declared files they keep between calls, the
// files the two exports write and the value each call returns. One session
// stands for one loaded library: its state lasts as long as the session.
//
// A text argument the host passes as null is given here as the empty text:
// every call treats the two alike.
class Session {
public:
    // 1.0 on the first call of the session, 0.0 on every later one. The
    // version number plays no part in the exports.
    double initExporter(double version);
    double declareHeight(double height);
    // Stored by the library but read by nothing: no effect here.
    double declareFlipAndSwitch(double code);
    // Binary STL exactly when the text is "BINARY" in any letter case.
    double declareBinaryOrASCII(const std::string& word);
    // Vertex colours in VRML exactly when the text is "YES" in any case.
    double declareExportVertexColors(const std::string& word);

    double startDeclareVekFiles();
    // Declares a file; its texture name starts as the same text.
    double addOneVekFile(const std::string& path);
    // Both address the last declared file and do nothing without one. The
    // visibility is recorded by the library but read by no export.
    double setTextureFileNameForLastVek(const std::string& name);
    double declareLastVekInvisible();
    double endDeclareVekFiles();

    // Write the file named by `path`, as the library writes it (nothing when
    // it cannot be opened). Both return 0.0.
    double exportSTLAllDeclaredVek(const std::string& path);
    double exportVRMLAllDeclaredVek(const std::string& path);

    // Any of the calls above by its exported name; a call takes only the
    // argument it uses. Throws std::invalid_argument for another name.
    double call(const std::string& name, const std::string& text, double number);

    // The settings and the declared files, one per line, for a report.
    std::string describe() const;

private:
    double m_height = 0.0;
    bool m_binarySTL = true;
    bool m_vertexColours = false;
    bool m_initialised = false;
    std::vector<std::string> m_files;
    std::vector<std::string> m_textures;
};

}  // namespace scriptmodel
