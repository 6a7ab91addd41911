#pragma once

#include "engine/ExportPlan.h"

class QMSTLExport;
class QMVRMLExport;

namespace ombrel::engine {

// Runs a planned export through the given exporter object, which the caller
// owns (the script calls keep theirs in a global, as the host expects). The
// result's status says what failed: opening the output, a write, the final
// rename. An exception (out of memory, ExportCancelled) leaves after the
// exporter has discarded its file and ended its thread: the exporter then
// holds nothing but its settings.
void runExport(const ExportPlan& plan, QMSTLExport& exporter, ExportResult& result);
void runExport(const ExportPlan& plan, QMVRMLExport& exporter, ExportResult& result);

// The same with a writer of the library's users (3MF): the engine owns the
// output file and discards it when anything fails.
void runExport(const ExportPlan& plan, SceneWriter& writer, ExportResult& result);

// Everything runExport does but writing: the report with its check.
void runCheck(const ExportPlan& plan, ExportResult& result);

}  // namespace ombrel::engine
