#include "FakeHostWindows.h"

#include "host/KDocWrappers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>

namespace {

FakeHostLayout layoutFor(const KWinLayout& win) {
    if (win.parent == kWinLayout31.parent) return kFakeLayout31;
    return kFakeLayout312B43;
}

}  // namespace

FakeHostWindows::FakeHostWindows(FakeHostMemory& memory, const FakeHostLayout& layout)
    : m_memory(memory), m_layout(layout) {}

FakeHostWindows::FakeHostWindows(FakeHostMemory& memory, const KWinLayout& layout)
    : m_memory(memory), m_layout(layoutFor(layout)) {
    m_layout.win = layout;
}

KWin* FakeHostWindows::window() { return m_memory.record<KWin>(kWindowBytes); }

KWin* FakeHostWindows::window(const char* text, const char* name) {
    KWin* win = window();
    if (text != nullptr) setText(win, text);
    if (name != nullptr) setName(win, name);
    return win;
}

void FakeHostWindows::link(KWin* parent, KWin* child) {
    FakeHostMemory::link(child, m_layout.win.parent, parent);
    KWin* last = firstChildOf(parent);
    if (last == nullptr) {
        FakeHostMemory::link(parent, m_layout.win.firstChild, child);
        return;
    }
    while (nextOf(last) != nullptr) last = nextOf(last);
    FakeHostMemory::link(last, m_layout.win.nextSibling, child);
    FakeHostMemory::link(child, m_layout.win.prevSibling, last);
}

KWin* FakeHostWindows::chain(int count) {
    KWin* bottom = nullptr;
    for (int i = 0; i < count; ++i) {
        KWin* win = window();
        if (bottom != nullptr) link(bottom, win);
        bottom = win;
    }
    return bottom;
}

void* FakeHostWindows::descriptor(KWin* win) {
    void* existing = readHostPointer(win, m_layout.win.descriptor);
    if (existing != nullptr) return existing;
    void* created = m_memory.allocate(kDescriptorBytes);
    FakeHostMemory::link(win, m_layout.win.descriptor, created);
    return created;
}

void FakeHostWindows::setKind(KWin* win, std::int16_t kind) {
    writeHostField<std::int16_t>(descriptor(win), kDescriptorKind, kind);
}

void* FakeHostWindows::textRecord(const char* text) {
    return textRecord(text, static_cast<std::uint32_t>(text == nullptr ? 0 : std::strlen(text)));
}

void* FakeHostWindows::textRecord(const char* text, std::uint32_t length) {
    unsigned char* record = m_memory.record<unsigned char>(kTextBytes);
    writeHostField<std::uint32_t>(record, kTextLength, length);
    if (text != nullptr) {
        std::size_t bytes = std::strlen(text);
        if (bytes > kTextMaxLength) bytes = kTextMaxLength;
        std::memcpy(record + kTextChars, text, bytes);
        record[kTextChars + bytes] = 0;
    }
    return record;
}

void* FakeHostWindows::setText(KWin* win, const char* text) {
    void* record = textRecord(text);
    FakeHostMemory::link(win, m_layout.win.text, record);
    return record;
}

void* FakeHostWindows::setName(KWin* win, const char* name) {
    void* record = textRecord(name);
    FakeHostMemory::link(descriptor(win), kDescriptorName, record);
    return record;
}

void* FakeHostWindows::setText2(KWin* win, const char* text) {
    void* record = textRecord(text);
    FakeHostMemory::link(descriptor(win), kDescriptorText2, record);
    return record;
}

void* FakeHostWindows::textOf(KWin* win) const { return readHostPointer(win, m_layout.win.text); }

void* FakeHostWindows::nameOf(KWin* win) const {
    void* desc = readHostPointer(win, m_layout.win.descriptor);
    return desc == nullptr ? nullptr : readHostPointer(desc, kDescriptorName);
}

void* FakeHostWindows::text2Of(KWin* win) const {
    void* desc = readHostPointer(win, m_layout.win.descriptor);
    return desc == nullptr ? nullptr : readHostPointer(desc, kDescriptorText2);
}

const char* FakeHostWindows::chars(const void* record) { return static_cast<const char*>(record) + kTextChars; }

std::uint32_t FakeHostWindows::lengthOf(const void* record) {
    return readHostField<std::uint32_t>(record, kTextLength);
}

KWin* FakeHostWindows::parentOf(KWin* win) const { return readHostPointer<KWin>(win, m_layout.win.parent); }
KWin* FakeHostWindows::firstChildOf(KWin* win) const { return readHostPointer<KWin>(win, m_layout.win.firstChild); }
KWin* FakeHostWindows::nextOf(KWin* win) const { return readHostPointer<KWin>(win, m_layout.win.nextSibling); }
KWin* FakeHostWindows::prevOf(KWin* win) const { return readHostPointer<KWin>(win, m_layout.win.prevSibling); }

void FakeHostWindows::makePulldown(KWin* win, std::initializer_list<KWin*> entries) {
    setKind(win, kPulldownKind);
    writeHostField<std::int32_t>(win, m_layout.win.pulldownCount, static_cast<std::int32_t>(entries.size()));
    std::size_t offset = m_layout.win.pulldownEntries;
    for (KWin* entry : entries) {
        FakeHostMemory::link(win, offset, entry);
        offset += 4;
    }
}

KDoc* FakeHostWindows::document(KWin* activeView) {
    KDoc* doc = m_memory.record<KDoc>(kDocumentBytes);
    FakeHostMemory::link(doc, m_layout.docActiveView, activeView);
    return doc;
}

unsigned char* FakeHostWindows::setImage(KWin* win, int columns, int rows) {
    const std::size_t rowBytes = std::size_t(4) * std::size_t(columns);
    const std::size_t bufferSize = rowBytes * std::size_t(rows);
    unsigned char* pixels = m_memory.record<unsigned char>(bufferSize == 0 ? 16 : bufferSize);
    void* owner = m_memory.allocate(kImageOwnerBytes);
    void* image = m_memory.allocate(kImageRecordBytes);
    FakeHostMemory::link(image, m_layout.imageRecord.pixels, pixels);
    writeHostField<std::uint32_t>(image, m_layout.imageRecord.bufferSize, static_cast<std::uint32_t>(bufferSize));
    writeHostField<std::int16_t>(image, m_layout.imageRecord.rowBytes, static_cast<std::int16_t>(rowBytes));
    FakeHostMemory::link(owner, m_layout.imageOwner.imageRecord, image);
    FakeHostMemory::link(win, m_layout.win.imageOwner, owner);
    return pixels;
}

void* FakeHostWindows::imageOwnerOf(KWin* win) const { return readHostPointer(win, m_layout.win.imageOwner); }

void* FakeHostWindows::imageRecordOf(KWin* win) const {
    void* owner = imageOwnerOf(win);
    return owner == nullptr ? nullptr : readHostPointer(owner, m_layout.imageOwner.imageRecord);
}

void FakeHostWindows::setExtents(KWin* win, double first, double second) {
    void* owner = imageOwnerOf(win);
    ASSERT_NE(owner, nullptr) << "setExtents needs an image (setImage) first";
    const ImageOwnerLayout& o = m_layout.imageOwner;
    if (o.fixedPointExtents) {
        writeHostField<std::int32_t>(owner, o.firstExtent, static_cast<std::int32_t>(std::lround(first * 65536.0)));
        writeHostField<std::int32_t>(owner, o.secondExtent, static_cast<std::int32_t>(std::lround(second * 65536.0)));
    } else {
        writeHostField<float>(owner, o.firstExtent, static_cast<float>(first));
        writeHostField<float>(owner, o.secondExtent, static_cast<float>(second));
    }
}

// ------------------------------------------------------------ script entry

FakeScriptEntry::FakeScriptEntry(Target target) {
    const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(target);
    unsigned char code[16] = {};
    std::size_t length = 0;
#if defined(__x86_64__)
    // movabs rax, target; jmp rax
    code[0] = 0x48;
    code[1] = 0xB8;
    std::memcpy(code + 2, &address, 8);
    code[10] = 0xFF;
    code[11] = 0xE0;
    length = 12;
    const int flags = MAP_PRIVATE | MAP_ANONYMOUS | MAP_32BIT;
#elif defined(__i386__)
    // mov eax, target; jmp eax
    code[0] = 0xB8;
    std::memcpy(code + 1, &address, 4);
    code[5] = 0xFF;
    code[6] = 0xE0;
    length = 7;
    const int flags = MAP_PRIVATE | MAP_ANONYMOUS;
#else
#error "FakeScriptEntry supports x86 only"
#endif
    m_bytes = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    void* memory = mmap(nullptr, m_bytes, PROT_READ | PROT_WRITE, flags, -1, 0);
    if (memory == MAP_FAILED) throw std::runtime_error("mmap for the script entry failed");
    std::memcpy(memory, code, length);
    if (mprotect(memory, m_bytes, PROT_READ | PROT_EXEC) != 0) {
        munmap(memory, m_bytes);
        throw std::runtime_error("script entry memory cannot be made executable");
    }
    HostAddress host = 0;
    if (!toHostAddress(memory, host)) {
        munmap(memory, m_bytes);
        throw std::runtime_error("script entry above 4 GiB");
    }
    m_code = memory;
}

FakeScriptEntry::~FakeScriptEntry() {
    if (m_code != nullptr) munmap(m_code, m_bytes);
}

// ------------------------------------------------------------ host builds

namespace {

template <class Wrapper>
KDocWrapper& wrapperOf() {
    return Wrapper::instance();
}

template <class Wrapper>
bool docIsValidOf(KDoc* doc) {
    return Wrapper::instance().docIsValid(doc);
}

}  // namespace

const FakeHostBuild kFakeHostBuilds[5] = {
    {"Host31", kFakeLayout31, &wrapperOf<KDocWrapper31>, &docIsValidOf<KDocWrapper31>},
    {"Host312", kFakeLayout312, &wrapperOf<KDocWrapper312>, &docIsValidOf<KDocWrapper312>},
    {"Host312B27", kFakeLayout312B27, &wrapperOf<KDocWrapper312B27>, &docIsValidOf<KDocWrapper312B27>},
    {"Host312B43", kFakeLayout312B43, &wrapperOf<KDocWrapper312B43>, &docIsValidOf<KDocWrapper312B43>},
    {"Host312B46", kFakeLayout312B46, &wrapperOf<KDocWrapper312B46>, &docIsValidOf<KDocWrapper312B46>},
};
