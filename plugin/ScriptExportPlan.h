#pragma once

#include "engine/ExportPlan.h"

// The export the host's script asks for: every declared file in order (with
// its texture name), the declared settings, the host's path rules, the
// quirks the host's exports have always had.
ombrel::engine::ExportPlan declaredExportPlan(const char* outputPath, ombrel::Format format);
