#pragma once

#include "geometry/QMMatrix4f.h"

// Steps both export drivers take before writing.

// Replaces the exporter in `slot` (one left by an export that an exception
// interrupted is deleted) by a new one, and returns it.
template <class Exporter>
Exporter* replaceExporter(Exporter*& slot) {
    delete slot;
    slot = nullptr;
    slot = new Exporter();
    return slot;
}

// The placement of every declared file: the union box of their points and the
// declared height (converted to single precision) give one matrix.
QMMatrix4f computeScenePlacement();

// Hands the placement to an exporter, which then applies it to every point.
template <class Exporter>
void placeExporter(Exporter& exporter) {
    exporter.m_matrix = computeScenePlacement();
    exporter.m_useMatrix = true;
}
