#include "FakeDocWrapper.h"

#include <algorithm>

namespace {

FakeDocWrapper::Window* win(KWin* w) { return reinterpret_cast<FakeDocWrapper::Window*>(w); }

const char* nonEmptyChars(const FakeDocWrapper::TextRecord* record) {
    return record && !record->chars.empty() ? record->chars.c_str() : nullptr;
}

}  // namespace

FakeDocWrapper::TextRecord* FakeDocWrapper::newText(const char* text) {
    m_texts.push_back(TextRecord{text ? text : ""});
    return &m_texts.back();
}

KWin* FakeDocWrapper::create(const char* text) {
    m_windows.emplace_back();
    Window& w = m_windows.back();
    if (text) w.text = newText(text);
    return handle(&w);
}

KWin* FakeDocWrapper::addChild(KWin* parent, const char* text) {
    KWin* child = create(text);
    Window& p = at(parent);
    Window& c = at(child);
    c.parent = &p;
    if (!p.child) {
        p.child = &c;
    } else {
        Window* last = p.child;
        while (last->next) last = last->next;
        last->next = &c;
        c.prev = last;
    }
    return child;
}

void FakeDocWrapper::linkAfter(KWin* prev, KWin* w) {
    Window& p = at(prev);
    Window& n = at(w);
    n.parent = p.parent;
    n.prev = &p;
    n.next = p.next;
    if (p.next) p.next->prev = &n;
    p.next = &n;
}

void FakeDocWrapper::setName(KWin* w, const char* name) {
    at(w).hasDescriptor = true;
    at(w).name = newText(name);
}

void FakeDocWrapper::setText2(KWin* w, const char* text) {
    at(w).hasDescriptor = true;
    at(w).text2 = newText(text);
}

void FakeDocWrapper::makePulldown(KWin* w, const std::vector<KWin*>& entries) {
    Window& p = at(w);
    p.hasDescriptor = true;
    p.pulldown = true;
    p.entries.clear();
    for (KWin* e : entries) p.entries.push_back(win(e));
}

FakeDocWrapper::Image& FakeDocWrapper::setImage(KWin* w, int rows, int rowBytes) {
    m_images.emplace_back();
    Image& image = m_images.back();
    image.pixels.assign(std::size_t(rows) * std::size_t(rowBytes), 255);
    image.bufferSize = static_cast<std::uint32_t>(image.pixels.size());
    image.rowBytes = rowBytes;
    at(w).image = &image;
    return image;
}

FakeDocWrapper::Image& FakeDocWrapper::setEmptyImage(KWin* w) {
    m_images.emplace_back();
    at(w).image = &m_images.back();
    return m_images.back();
}

std::vector<KWin*> FakeDocWrapper::children(KWin* parent) const {
    std::vector<KWin*> result;
    for (Window* c = at(parent).child; c; c = c->next) result.push_back(handle(c));
    return result;
}

KWin* FakeDocWrapper::getActiveView(KDoc*) { return nullptr; }
KWin* FakeDocWrapper::getParentWin(KWin* w) { return handle(at(w).parent); }
void FakeDocWrapper::setParentWin(KWin* w, KWin* parent) { at(w).parent = win(parent); }
KWin* FakeDocWrapper::getChildWin(KWin* w) { return handle(at(w).child); }
void FakeDocWrapper::setChildWin(KWin* w, KWin* child) { at(w).child = win(child); }
KWin* FakeDocWrapper::getPrevWin(KWin* w) { return handle(at(w).prev); }
void FakeDocWrapper::setPrevWin(KWin* w, KWin* prev) { at(w).prev = win(prev); }
KWin* FakeDocWrapper::getNextWin(KWin* w) { return handle(at(w).next); }
void FakeDocWrapper::setNextWin(KWin* w, KWin* next) { at(w).next = win(next); }

const char* FakeDocWrapper::getWinText(KWin* w) {
    if (const char* text = nonEmptyChars(at(w).text)) return text;
    return nonEmptyChars(at(w).name);
}

const char* FakeDocWrapper::getWinName(KWin* w) {
    if (const char* name = nonEmptyChars(at(w).name)) return name;
    return nonEmptyChars(at(w).text);
}

QMString FakeDocWrapper::getFullPathName(KWin* w) {
    if (!w) return QMString("");
    QMString path = getFullPathName(getParentWin(w));
    const char* name = getWinName(w);
    if (!name || !name[0]) return path;
    if (!path.empty()) path += ":";
    path += name;
    return path;
}

KPulldownWin* FakeDocWrapper::getPulldownWin(KWin* w) {
    return at(w).hasDescriptor && at(w).pulldown ? reinterpret_cast<KPulldownWin*>(w) : nullptr;
}

int FakeDocWrapper::getWinCountInPulldownWin(KPulldownWin* w) {
    return static_cast<int>(win(reinterpret_cast<KWin*>(w))->entries.size());
}

KWin* FakeDocWrapper::getWinInPulldownWin(KPulldownWin* w, int index) {
    return handle(win(reinterpret_cast<KWin*>(w))->entries.at(std::size_t(index)));
}

FakeDocWrapper::TextRecord** FakeDocWrapper::slot(Window& w, KWinTextType type) {
    switch (type) {
        case kWinText:
            return &w.text;
        case kWinDescriptorName:
            return &w.name;
        case kWinDescriptorText2:
            return &w.text2;
    }
    return nullptr;
}

void FakeDocWrapper::swapWinText(KWin* a, KWinTextType ta, KWin* b, KWinTextType tb) {
    if (!a || !b) return;
    if ((ta != kWinText || tb != kWinText) && (!at(a).hasDescriptor || !at(b).hasDescriptor)) return;
    TextRecord** slotA = slot(at(a), ta);
    TextRecord** slotB = slot(at(b), tb);
    TextRecord* fromA = slotA ? *slotA : nullptr;
    TextRecord* fromB = slotB ? *slotB : nullptr;
    if (slotA) *slotA = fromB;
    if (slotB) *slotB = fromA;
}

void FakeDocWrapper::swapWinImage(KWin* a, KWin* b) {
    if (a && b) std::swap(at(a).image, at(b).image);
}

void FakeDocWrapper::copyButtonNameToButtonText(KWin* w) {
    if (w && !at(w).text && at(w).hasDescriptor && at(w).name) at(w).text = at(w).name;
}

KBitmap FakeDocWrapper::getButtonImage(KWin* w) {
    KBitmap bitmap;
    if (!w || !at(w).image) return bitmap;
    Image& image = *at(w).image;
    bitmap.m_pixels = image.pixels.empty() ? nullptr : image.pixels.data();
    bitmap.m_bufferSize = image.bufferSize;
    bitmap.m_rowBytes = image.rowBytes;
    return bitmap;
}

const char* FakeDocWrapper::getButtonText(KWin* w) { return w && at(w).text ? at(w).text->chars.c_str() : nullptr; }

void FakeDocWrapper::setButtonText(KWin* w, const char* text) {
    if (!w || !at(w).text) return;
    std::string& chars = at(w).text->chars;
    chars = text ? std::string(text).substr(0, 255) : std::string();
}

bool FakeUtilWrapper::runKScript(KUtility* utility, const QMString& script) {
    ++m_calls;
    m_lastUtility = utility;
    m_lastScript = script.c_str() ? script.c_str() : "";
    return m_result;
}
