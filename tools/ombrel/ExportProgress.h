#pragma once

#include "engine/OmbrelExport.h"

#include <string>

// Shows an export's progress on one line of stderr, redrawn in place, when
// stderr is a terminal; the line is cleared when the object goes.
//
//   ombrel: binary STL: measuring the scene (file 2 of 3)
//   ombrel: binary STL: writing file 2 of 3, 45%
//
// `work` names what the second pass does with each file ("writing", or
// "checking" for a run that writes nothing); `shown` false keeps it silent
// (--quiet).
class ExportProgress {
public:
    explicit ExportProgress(const char* what, const char* work = "writing", bool shown = true);
    ~ExportProgress();
    ExportProgress(const ExportProgress&) = delete;
    ExportProgress& operator=(const ExportProgress&) = delete;

    // The callback for the export's options: empty when stderr is not a
    // terminal. It refers to this object, which must outlive the export.
    ombrel::ProgressCallback callback();

private:
    void show(const ombrel::Progress& progress);

    const char* m_what;
    const char* m_work;
    bool m_enabled;
    std::string m_shown;  // the text on the line now; redrawn only when it changes
};
