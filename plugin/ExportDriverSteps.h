#pragma once

// Replaces the exporter in `slot` (one left by an export that an exception
// interrupted is deleted) by a new one, and returns it.
template <class Exporter>
Exporter* replaceExporter(Exporter*& slot) {
    delete slot;
    slot = nullptr;
    slot = new Exporter();
    return slot;
}
