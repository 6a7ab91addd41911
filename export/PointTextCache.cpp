#include "export/PointTextCache.h"

#include <cstring>

PointTextCache::PointTextCache() : m_slots(new Slot[kSlots]) {}

void PointTextCache::clear() {
    for (std::size_t i = 0; i < kSlots; ++i) m_slots[i].index = -1;
}

char* PointTextCache::format(char* out, const QMVector3f& point) {
    out = appendGeneral6(out, point.x);
    *out++ = ' ';
    out = appendGeneral6(out, point.y);
    *out++ = ' ';
    out = appendGeneral6(out, point.z);
    *out++ = ' ';
    return out;
}

char* PointTextCache::append(char* out, int index, const QMVector3f& point) {
    Slot& slot = m_slots[static_cast<std::size_t>(index) % kSlots];
    if (slot.index != index) {
        slot.length = static_cast<std::uint8_t>(format(slot.text, point) - slot.text);
        slot.index = index;
    }
    // The whole slot is copied (a fixed size copies fastest); only `length`
    // bytes count, the caller has room for all of them.
    std::memcpy(out, slot.text, kMaxPointText);
    return out + slot.length;
}
