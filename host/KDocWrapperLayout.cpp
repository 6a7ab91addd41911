#include "host/KDocWrapperLayout.h"

#include "host/HostMemory.h"
#include "support/QMExceptionService.h"

#include <cstring>

namespace {

// Longest chain of windows, from the active view up to the top, that a valid
// document may have; a longer one is taken for a cycle.
constexpr int kWindowBudget = 20;

// The characters of a text record that exists and has a non-zero length.
const char* nonEmptyText(const void* record) {
    if (record == nullptr) return nullptr;
    if (readHostField<std::uint32_t>(record, kTextLength) == 0) return nullptr;
    return static_cast<const char*>(record) + kTextChars;
}

}  // namespace

// ------------------------------------------------------------ document

bool KDocWrapperLayout::docIsValid(KDoc* doc) const {
    if (doc == nullptr) return false;
    const KWinLayout& w = m_layout.win;
    const std::size_t activeView = m_layout.docActiveView;
    bool linksHold = false;
    // Only plain values live across the guarded stretch: a fault jumps out of it.
    const bool completed = readGuarded([&] {
        KWin* win = readHostPointer<KWin>(doc, activeView);
        int budget = kWindowBudget;
        while (win != nullptr) {
            if (--budget == 0) return;
            KWin* parent = readHostPointer<KWin>(win, w.parent);
            KWin* child = readHostPointer<KWin>(win, w.firstChild);
            KWin* next = readHostPointer<KWin>(win, w.nextSibling);
            KWin* prev = readHostPointer<KWin>(win, w.prevSibling);
            if (child != nullptr && readHostPointer<KWin>(child, w.parent) != win) return;
            if (next != nullptr) {
                if (readHostPointer<KWin>(next, w.prevSibling) != win) return;
                if (readHostPointer<KWin>(next, w.parent) != parent) return;
            }
            if (prev != nullptr) {
                if (readHostPointer<KWin>(prev, w.nextSibling) != win) return;
                if (readHostPointer<KWin>(prev, w.parent) != parent) return;
            }
            win = parent;
        }
        linksHold = true;
    });
    return completed && linksHold;
}

KWin* KDocWrapperLayout::getActiveView(KDoc* doc) const {
    if (!docIsValid(doc)) return nullptr;
    return readHostPointer<KWin>(doc, m_layout.docActiveView);
}

// ------------------------------------------------------------ links

KWin* KDocWrapperLayout::getParentWin(KWin* win) const { return readHostPointer<KWin>(win, m_layout.win.parent); }
void KDocWrapperLayout::setParentWin(KWin* win, KWin* parent) const {
    writeHostPointer(win, m_layout.win.parent, parent);
}
KWin* KDocWrapperLayout::getChildWin(KWin* win) const { return readHostPointer<KWin>(win, m_layout.win.firstChild); }
void KDocWrapperLayout::setChildWin(KWin* win, KWin* child) const {
    writeHostPointer(win, m_layout.win.firstChild, child);
}
KWin* KDocWrapperLayout::getPrevWin(KWin* win) const { return readHostPointer<KWin>(win, m_layout.win.prevSibling); }
void KDocWrapperLayout::setPrevWin(KWin* win, KWin* prev) const {
    writeHostPointer(win, m_layout.win.prevSibling, prev);
}
KWin* KDocWrapperLayout::getNextWin(KWin* win) const { return readHostPointer<KWin>(win, m_layout.win.nextSibling); }
void KDocWrapperLayout::setNextWin(KWin* win, KWin* next) const {
    writeHostPointer(win, m_layout.win.nextSibling, next);
}

// ------------------------------------------------------------ texts and names

const char* KDocWrapperLayout::getWinText(KWin* win) const {
    if (const char* text = nonEmptyText(readHostPointer(win, m_layout.win.text))) return text;
    const void* descriptor = readHostPointer(win, m_layout.win.descriptor);
    if (descriptor == nullptr) return nullptr;
    return nonEmptyText(readHostPointer(descriptor, kDescriptorName));
}

const char* KDocWrapperLayout::getWinName(KWin* win) const {
    const void* descriptor = readHostPointer(win, m_layout.win.descriptor);
    if (descriptor != nullptr) {
        if (const char* name = nonEmptyText(readHostPointer(descriptor, kDescriptorName))) return name;
    }
    return nonEmptyText(readHostPointer(win, m_layout.win.text));
}

QMString KDocWrapperLayout::getFullPathName(KDocWrapper& self, KWin* win) {
    if (win == nullptr) return QMString("");
    QMString path = self.getFullPathName(self.getParentWin(win));
    const char* name = self.getWinName(win);
    if (name == nullptr || name[0] == '\0') return path;
    if (path.length() != 0) path += ":";
    path += name;
    return path;
}

// ------------------------------------------------------------ pull-down lists

KPulldownWin* KDocWrapperLayout::getPulldownWin(KWin* win) const {
    const void* descriptor = readHostPointer(win, m_layout.win.descriptor);
    if (descriptor == nullptr) return nullptr;
    if (readHostField<std::int16_t>(descriptor, kDescriptorKind) != kPulldownKind) return nullptr;
    return reinterpret_cast<KPulldownWin*>(win);
}

int KDocWrapperLayout::getWinCountInPulldownWin(KPulldownWin* win) const {
    return readHostField<std::int32_t>(win, m_layout.win.pulldownCount);
}

KWin* KDocWrapperLayout::getWinInPulldownWin(KPulldownWin* win, int index) const {
    // No bounds check: the host's count is trusted by the callers.
    const std::ptrdiff_t offset = std::ptrdiff_t(m_layout.win.pulldownEntries) + std::ptrdiff_t(4) * index;
    return readHostPointer<KWin>(reinterpret_cast<unsigned char*>(win) + offset, 0);
}

// ------------------------------------------------------------ swaps

bool KDocWrapperLayout::textSlot(KWin* win, KWinTextType type, void*& record, std::size_t& offset) const {
    switch (type) {
        case kWinText:
            record = win;
            offset = m_layout.win.text;
            return true;
        case kWinDescriptorName:
            record = readHostPointer(win, m_layout.win.descriptor);
            offset = kDescriptorName;
            return true;
        case kWinDescriptorText2:
            record = readHostPointer(win, m_layout.win.descriptor);
            offset = kDescriptorText2;
            return true;
    }
    return false;
}

void KDocWrapperLayout::swapWinText(KWin* a, KWinTextType ta, KWin* b, KWinTextType tb) const {
    if (a == nullptr || b == nullptr) return;
    if (ta != kWinText || tb != kWinText) {
        if (readHostPointer(a, m_layout.win.descriptor) == nullptr) return;
        if (readHostPointer(b, m_layout.win.descriptor) == nullptr) return;
    }
    void* recordA = nullptr;
    void* recordB = nullptr;
    std::size_t offsetA = 0, offsetB = 0;
    const bool hasSlotA = textSlot(a, ta, recordA, offsetA);
    const bool hasSlotB = textSlot(b, tb, recordB, offsetB);
    // Read both before writing either: the two slots may be the same field.
    void* textA = hasSlotA ? readHostPointer(recordA, offsetA) : nullptr;
    void* textB = hasSlotB ? readHostPointer(recordB, offsetB) : nullptr;
    if (hasSlotB) writeHostPointer(recordB, offsetB, textA);
    if (hasSlotA) writeHostPointer(recordA, offsetA, textB);
}

void KDocWrapperLayout::swapWinImage(KWin* a, KWin* b) const {
    if (a == nullptr || b == nullptr) return;
    void* ownerA = readHostPointer(a, m_layout.win.imageOwner);
    void* ownerB = readHostPointer(b, m_layout.win.imageOwner);
    writeHostPointer(a, m_layout.win.imageOwner, ownerB);
    writeHostPointer(b, m_layout.win.imageOwner, ownerA);
}

void KDocWrapperLayout::copyButtonNameToButtonText(KWin* win) const {
    if (win == nullptr) return;
    if (readHostPointer(win, m_layout.win.text) != nullptr) return;
    const void* descriptor = readHostPointer(win, m_layout.win.descriptor);
    if (descriptor == nullptr) return;
    void* name = readHostPointer(descriptor, kDescriptorName);
    if (name == nullptr) return;
    // The window and its descriptor then share one text record.
    writeHostPointer(win, m_layout.win.text, name);
}

// ------------------------------------------------------------ button image and text

std::uint32_t KDocWrapperLayout::floatExtent(float value) {
    // The 0.2 absorbs the binary error of values meant to be whole; the sum is
    // formed in double as the host does.
    double extent = double(value) + 0.2;
    if (!(extent >= 0.0)) return 0;  // negative, and NaN
    if (extent >= 4294967296.0) return UINT32_MAX;
    return static_cast<std::uint32_t>(extent);
}

KBitmap KDocWrapperLayout::getButtonImage(KWin* win) const {
    if (win == nullptr) return KBitmap();
    const void* owner = readHostPointer(win, m_layout.win.imageOwner);
    return owner == nullptr ? KBitmap() : readOwnerImage(owner, m_layout);
}

KBitmap KDocWrapperLayout::readOwnerImage(const void* owner, const KDocLayout& layout) {
    KBitmap bitmap;
    const ImageOwnerLayout& o = layout.imageOwner;
    const void* image = readHostPointer(owner, o.imageRecord);
    if (image == nullptr) return bitmap;
    const ImageRecordLayout& r = layout.imageRecord;
    bitmap.m_pixels = readHostPointer<unsigned char>(image, r.pixels);
    bitmap.m_bufferSize = readHostField<std::uint32_t>(image, r.bufferSize);
    bitmap.m_rowBytes = readHostField<std::int16_t>(image, r.rowBytes);
    if (o.fixedPointExtents) {
        // The integer part of a 16.16 value (arithmetic shift, so negative
        // values round toward minus infinity), kept as its bit pattern.
        bitmap.m_firstExtent = static_cast<std::uint32_t>(readHostField<std::int32_t>(owner, o.firstExtent) >> 16);
        bitmap.m_secondExtent = static_cast<std::uint32_t>(readHostField<std::int32_t>(owner, o.secondExtent) >> 16);
    } else {
        bitmap.m_firstExtent = floatExtent(readHostField<float>(owner, o.firstExtent));
        bitmap.m_secondExtent = floatExtent(readHostField<float>(owner, o.secondExtent));
    }
    return bitmap;
}

const char* KDocWrapperLayout::getButtonText(KWin* win) const {
    if (win == nullptr) return nullptr;
    const void* record = readHostPointer(win, m_layout.win.text);
    if (record == nullptr) return nullptr;
    return static_cast<const char*>(record) + kTextChars;
}

void KDocWrapperLayout::setButtonText(KWin* win, const char* text) const {
    if (win == nullptr) return;
    unsigned char* record = readHostPointer<unsigned char>(win, m_layout.win.text);
    if (record == nullptr) return;
    if (text == nullptr) {
        writeHostField<std::uint32_t>(record, kTextLength, 0);
        record[kTextChars] = 0;
        return;
    }
    std::size_t length = std::strlen(text);
    if (length > kTextMaxLength) length = kTextMaxLength;
    writeHostField<std::uint32_t>(record, kTextLength, static_cast<std::uint32_t>(length));
    // length + 1 bytes: for a capped text the last byte is the text's next
    // character, not a NUL; the host goes by the length field.
    std::memcpy(record + kTextChars, text, length + 1);
}
