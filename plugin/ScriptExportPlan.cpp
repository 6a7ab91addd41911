#include "plugin/ScriptExportPlan.h"

#include "plugin/DeclaredVekFiles.h"
#include "plugin/ExportSettings.h"

ombrel::engine::ExportPlan declaredExportPlan(const char* outputPath, ombrel::Format format) {
    ombrel::engine::ExportPlan plan;
    const QMArray<QMString>& names = getDeclaredVekFileNames();
    const QMArray<QMString>& textures = getDeclaredTextureFileNames();
    for (std::size_t i = 0; i < names.size(); ++i) {
        const char* name = names[i].c_str();
        plan.inputs.push_back({names[i], name ? name : "", i < textures.size() ? textures[i] : QMString()});
    }
    plan.outputPath = QMString(outputPath);
    plan.outputDisplay = outputPath ? outputPath : "";
    plan.format = format;
    plan.vertexColors = s_exportVertexColors;
    plan.up = ombrel::UpAxis::Y;
    plan.height = s_declaredHeight;
    plan.carryUVsAcrossFiles = true;
    plan.readInputsWithoutOutput = true;
    plan.acceptAnyPlacement = true;
    return plan;
}
