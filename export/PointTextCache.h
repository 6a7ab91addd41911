#pragma once

#include "geometry/QMVector.h"
#include "support/NumberText.h"

#include <cstddef>
#include <cstdint>
#include <memory>

// The ASCII STL text of recently used points ("%g %g %g " of the placed
// point), so that a point shared by several triangle corners is formatted
// once. Neighbouring faces share most of their points, so a small
// direct-mapped table (the slot is the point's index modulo the table size)
// holds nearly all repeats in a few hundred kilobytes, whatever the mesh's
// size. The text depends only on the point, so the bytes are those of
// formatting every corner.
class PointTextCache {
public:
    // The longest text of one point: three numbers, each followed by a space.
    static constexpr std::size_t kMaxPointText = 3 * (kMaxGeneral6Length + 1);

    PointTextCache();

    // Writes the text of point `index` (placed at `point`) at `out`, which has
    // room for kMaxPointText bytes, and returns its end.
    char* append(char* out, int index, const QMVector3f& point);

    // Forgets every text; call it before each mesh, whose indices name other
    // points.
    void clear();

    // Formats without the table.
    static char* format(char* out, const QMVector3f& point);

private:
    static constexpr std::size_t kSlots = 4096;
    struct Slot {
        int index = -1;
        std::uint8_t length = 0;
        char text[kMaxPointText] = {};
    };
    std::unique_ptr<Slot[]> m_slots;
};
