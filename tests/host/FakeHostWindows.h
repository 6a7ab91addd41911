#pragma once

#include "FakeHostMemory.h"

#include "host/HostLayouts.h"
#include "host/KDocWrapper.h"
#include "host/KHostTypes.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <ostream>

// The record offsets of one host build, as the fakes below lay them out.
struct FakeHostLayout {
    KWinLayout win;
    ImageOwnerLayout imageOwner;
    ImageRecordLayout imageRecord;
    std::size_t docActiveView;
};
inline constexpr FakeHostLayout kFakeLayout31{kWinLayout31, kImageOwner31, kImageRecord31, kDocActiveView31};
inline constexpr FakeHostLayout kFakeLayout312{kWinLayout31, kImageOwner312, kImageRecord31, kDocActiveView312};
inline constexpr FakeHostLayout kFakeLayout312B27{kWinLayout31, kImageOwner31, kImageRecord31, kDocActiveView312};
inline constexpr FakeHostLayout kFakeLayout312B43{kWinLayoutB43, kImageOwnerB43, kImageRecordB43, kDocActiveViewB43};
inline constexpr FakeHostLayout kFakeLayout312B46{kWinLayoutB43, kImageOwnerB43, kImageRecordB43, kDocActiveViewB43};

// Builds fake host windows, descriptors, text records, documents and images
// in FakeHostMemory (below 4 GiB), laid out for one host build:
//
//   FakeHostMemory memory;
//   FakeHostWindows w(memory, kFakeLayout31);   // or (memory, kWinLayout31)
//   KWin* parent = w.window();
//   KWin* a = w.window();
//   w.setText(a, "File");
//   w.setName(a, "fileMenu");
//   w.link(parent, a);                          // a becomes parent's last child
//   KDoc* doc = w.document(a);                  // a is the active view
//
// Records are zeroed, so every link, descriptor and text starts out null.
class FakeHostWindows {
public:
    static constexpr std::size_t kWindowBytes = 1024;  // room for 200 pull-down entries
    static constexpr std::size_t kDescriptorBytes = 128;
    static constexpr std::size_t kTextBytes = 320;  // length, 255 characters, NUL and spare
    static constexpr std::size_t kDocumentBytes = 1024;
    static constexpr std::size_t kImageOwnerBytes = 128;
    static constexpr std::size_t kImageRecordBytes = 128;

    FakeHostWindows(FakeHostMemory& memory, const FakeHostLayout& layout);
    // The window layout alone: images and documents use the 3.1 shapes for
    // kWinLayout31 and the B43 shapes for kWinLayoutB43.
    FakeHostWindows(FakeHostMemory& memory, const KWinLayout& layout);

    const FakeHostLayout& layout() const { return m_layout; }
    FakeHostMemory& memory() { return m_memory; }

    // A new zeroed window record.
    KWin* window();
    // A window with a text (own text record) and/or a name (descriptor name
    // record); a null argument leaves that record out.
    KWin* window(const char* text, const char* name = nullptr);

    // Appends `child` as the last child of `parent`: sets the child's parent
    // and the sibling links both ways (and the parent's first child).
    void link(KWin* parent, KWin* child);
    // A chain of `count` windows, each the only child of the previous one;
    // returns the bottom one (the top one is its count-1 th ancestor).
    KWin* chain(int count);

    // The window's descriptor, created when missing.
    void* descriptor(KWin* win);
    void setKind(KWin* win, std::int16_t kind);

    // A text record holding `text` (length from strlen, up to 255 chars
    // copied, NUL-terminated), or with an explicit length field.
    void* textRecord(const char* text);
    void* textRecord(const char* text, std::uint32_t length);

    // New text records in the window's own text slot, its descriptor's name
    // slot and its descriptor's second text slot; each returns the record.
    void* setText(KWin* win, const char* text);
    void* setName(KWin* win, const char* name);
    void* setText2(KWin* win, const char* text);

    // Raw slot pointers (null when the slot or its descriptor is absent).
    void* textOf(KWin* win) const;
    void* nameOf(KWin* win) const;
    void* text2Of(KWin* win) const;
    // The characters of a text record.
    static const char* chars(const void* record);
    static std::uint32_t lengthOf(const void* record);

    // Link fields, read raw.
    KWin* parentOf(KWin* win) const;
    KWin* firstChildOf(KWin* win) const;
    KWin* nextOf(KWin* win) const;
    KWin* prevOf(KWin* win) const;

    // Makes `win` a pull-down list (descriptor kind 1007) with these entries.
    void makePulldown(KWin* win, std::initializer_list<KWin*> entries);

    // A document whose active view is `activeView`.
    KDoc* document(KWin* activeView);

    // An image for the window: owner record (linked from the window), image
    // record and a pixel buffer of columns x rows pixels (4 bytes each, all
    // zero), rowBytes = 4 columns, buffer size = rowBytes rows. Returns the
    // pixels.
    unsigned char* setImage(KWin* win, int columns, int rows);
    void* imageOwnerOf(KWin* win) const;
    void* imageRecordOf(KWin* win) const;
    // Extents stored in the owner, in the layout's form (16.16 fixed point
    // or float).
    void setExtents(KWin* win, double first, double second);

private:
    FakeHostMemory& m_memory;
    FakeHostLayout m_layout;
};

using FakeWindows = FakeHostWindows;

// A callable host entry point below 4 GiB for script utility tests: a small
// trampoline in executable memory that jumps to `target`. The utility
// pointer handed to the wrapper is the trampoline's address.
class FakeScriptEntry {
public:
    using Target = int (*)(std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t);
    explicit FakeScriptEntry(Target target);
    ~FakeScriptEntry();
    FakeScriptEntry(const FakeScriptEntry&) = delete;
    FakeScriptEntry& operator=(const FakeScriptEntry&) = delete;

    KUtility* utility() const { return static_cast<KUtility*>(m_code); }

private:
    void* m_code = nullptr;
    std::size_t m_bytes = 0;
};

// One supported host build: its wrapper, that wrapper's docIsValid, and the
// layout the fakes use for it. kFakeHostBuilds lists 3.1, 3.12, 3.12 B27,
// 3.12 B43 and 3.12 B46 in this order.
struct FakeHostBuild {
    const char* name;
    FakeHostLayout layout;
    KDocWrapper& (*wrapper)();
    bool (*docIsValid)(KDoc* doc);
};
extern const FakeHostBuild kFakeHostBuilds[5];
// Test names and messages show the build's name.
inline void PrintTo(const FakeHostBuild& build, std::ostream* os) { *os << build.name; }
