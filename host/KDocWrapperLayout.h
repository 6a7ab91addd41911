#pragma once

#include "host/HostLayouts.h"
#include "host/KBitmap.h"
#include "host/KDocWrapper.h"
#include "host/KHostTypes.h"
#include "support/QMString.h"

#include <cstddef>
#include <cstdint>

// Internal to the host bridge: everything a document wrapper does, written
// once and parameterised by the record layouts of one host build. The
// concrete wrappers (host/KDocWrappers.h) hold no data; each forwards to a
// KDocWrapperLayout built from its layout constants.
struct KDocLayout {
    KWinLayout win;
    ImageOwnerLayout imageOwner;
    ImageRecordLayout imageRecord;
    std::size_t docActiveView;
};

inline constexpr KDocLayout kDocLayout31{kWinLayout31, kImageOwner31, kImageRecord31, kDocActiveView31};
inline constexpr KDocLayout kDocLayout312{kWinLayout31, kImageOwner312, kImageRecord31, kDocActiveView312};
// Build 27 keeps the fixed-point extents of 3.1 between two float layouts.
inline constexpr KDocLayout kDocLayout312B27{kWinLayout31, kImageOwner31, kImageRecord31, kDocActiveView312};
inline constexpr KDocLayout kDocLayout312B43{kWinLayoutB43, kImageOwnerB43, kImageRecordB43, kDocActiveViewB43};
inline constexpr KDocLayout kDocLayout312B46{kWinLayoutB43, kImageOwnerB43, kImageRecordB43, kDocActiveViewB43};

class KDocWrapperLayout {
public:
    explicit constexpr KDocWrapperLayout(const KDocLayout& layout) : m_layout(layout) {}

    bool docIsValid(KDoc* doc) const;
    KWin* getActiveView(KDoc* doc) const;

    KWin* getParentWin(KWin* win) const;
    void setParentWin(KWin* win, KWin* parent) const;
    KWin* getChildWin(KWin* win) const;
    void setChildWin(KWin* win, KWin* child) const;
    KWin* getPrevWin(KWin* win) const;
    void setPrevWin(KWin* win, KWin* prev) const;
    KWin* getNextWin(KWin* win) const;
    void setNextWin(KWin* win, KWin* next) const;

    const char* getWinText(KWin* win) const;
    const char* getWinName(KWin* win) const;
    // Recurses through `self`'s virtual operations, so a wrapper that
    // overrides getFullPathName or getWinName is honoured at every level.
    static QMString getFullPathName(KDocWrapper& self, KWin* win);

    KPulldownWin* getPulldownWin(KWin* win) const;
    int getWinCountInPulldownWin(KPulldownWin* win) const;
    KWin* getWinInPulldownWin(KPulldownWin* win, int index) const;

    void swapWinText(KWin* a, KWinTextType ta, KWin* b, KWinTextType tb) const;
    void swapWinImage(KWin* a, KWin* b) const;
    void copyButtonNameToButtonText(KWin* win) const;
    KBitmap getButtonImage(KWin* win) const;
    // The image of an image owner record (a button's, or the texture owner of
    // the host data): all zero when the owner has no image record.
    static KBitmap readOwnerImage(const void* owner, const KDocLayout& layout);
    const char* getButtonText(KWin* win) const;
    void setButtonText(KWin* win, const char* text) const;

    // A float extent as the wrappers store it: value + 0.2, at least 0,
    // truncated; 2^32 and above give all ones, NaN gives 0.
    static std::uint32_t floatExtent(float value);

private:
    // The record selected by a text selector (null outside 0 to 2), and the
    // host field that holds it (false outside 0 to 2).
    bool textSlot(KWin* win, KWinTextType type, void*& record, std::size_t& offset) const;

    KDocLayout m_layout;
};

// Defines instance(), docIsValid and the 21 operations of a concrete wrapper
// class by forwarding them to a KDocWrapperLayout of `layout`.
#define OMBREL_DEFINE_KDOCWRAPPER(Class, layout)                                                                     \
    namespace {                                                                                                      \
    constexpr KDocWrapperLayout kImpl{layout};                                                                       \
    }                                                                                                                \
    Class& Class::instance() {                                                                                       \
        static Class wrapper;                                                                                        \
        return wrapper;                                                                                              \
    }                                                                                                                \
    bool Class::docIsValid(KDoc* doc) { return kImpl.docIsValid(doc); }                                              \
    KWin* Class::getActiveView(KDoc* doc) { return kImpl.getActiveView(doc); }                                       \
    KWin* Class::getParentWin(KWin* win) { return kImpl.getParentWin(win); }                                         \
    void Class::setParentWin(KWin* win, KWin* parent) { kImpl.setParentWin(win, parent); }                           \
    KWin* Class::getChildWin(KWin* win) { return kImpl.getChildWin(win); }                                           \
    void Class::setChildWin(KWin* win, KWin* child) { kImpl.setChildWin(win, child); }                               \
    KWin* Class::getPrevWin(KWin* win) { return kImpl.getPrevWin(win); }                                             \
    void Class::setPrevWin(KWin* win, KWin* prev) { kImpl.setPrevWin(win, prev); }                                   \
    KWin* Class::getNextWin(KWin* win) { return kImpl.getNextWin(win); }                                             \
    void Class::setNextWin(KWin* win, KWin* next) { kImpl.setNextWin(win, next); }                                   \
    const char* Class::getWinText(KWin* win) { return kImpl.getWinText(win); }                                       \
    const char* Class::getWinName(KWin* win) { return kImpl.getWinName(win); }                                       \
    QMString Class::getFullPathName(KWin* win) { return KDocWrapperLayout::getFullPathName(*this, win); }            \
    KPulldownWin* Class::getPulldownWin(KWin* win) { return kImpl.getPulldownWin(win); }                             \
    int Class::getWinCountInPulldownWin(KPulldownWin* win) { return kImpl.getWinCountInPulldownWin(win); }           \
    KWin* Class::getWinInPulldownWin(KPulldownWin* win, int index) { return kImpl.getWinInPulldownWin(win, index); } \
    void Class::swapWinText(KWin* a, KWinTextType ta, KWin* b, KWinTextType tb) { kImpl.swapWinText(a, ta, b, tb); } \
    void Class::swapWinImage(KWin* a, KWin* b) { kImpl.swapWinImage(a, b); }                                         \
    void Class::copyButtonNameToButtonText(KWin* win) { kImpl.copyButtonNameToButtonText(win); }                     \
    KBitmap Class::getButtonImage(KWin* win) { return kImpl.getButtonImage(win); }                                   \
    const char* Class::getButtonText(KWin* win) { return kImpl.getButtonText(win); }                                 \
    void Class::setButtonText(KWin* win, const char* text) { kImpl.setButtonText(win, text); }
