#pragma once

#include "host/KDocWrapper.h"
#include "support/OmbrelApi.h"

// The concrete document wrappers, one per supported host build. They hold no
// data; each has one static instance for the program's lifetime, returned by
// instance(). The shared logic lives in an internal helper parameterised by
// the host layouts (host/KDocWrapperImpl.h), so the classes only pick their
// layout.

// The 21 operations of KDocWrapper, declared once for every concrete class.
#define OMBREL_KDOCWRAPPER_OPERATIONS                                              \
    KWin* getActiveView(KDoc* doc) override;                                       \
    KWin* getParentWin(KWin* win) override;                                        \
    void setParentWin(KWin* win, KWin* parent) override;                           \
    KWin* getChildWin(KWin* win) override;                                         \
    void setChildWin(KWin* win, KWin* child) override;                             \
    KWin* getPrevWin(KWin* win) override;                                          \
    void setPrevWin(KWin* win, KWin* prev) override;                               \
    KWin* getNextWin(KWin* win) override;                                          \
    void setNextWin(KWin* win, KWin* next) override;                               \
    const char* getWinText(KWin* win) override;                                    \
    const char* getWinName(KWin* win) override;                                    \
    QMString getFullPathName(KWin* win) override;                                  \
    KPulldownWin* getPulldownWin(KWin* win) override;                              \
    int getWinCountInPulldownWin(KPulldownWin* win) override;                      \
    KWin* getWinInPulldownWin(KPulldownWin* win, int index) override;              \
    void swapWinText(KWin* a, KWinTextType ta, KWin* b, KWinTextType tb) override; \
    void swapWinImage(KWin* a, KWin* b) override;                                  \
    void copyButtonNameToButtonText(KWin* win) override;                           \
    KBitmap getButtonImage(KWin* win) override;                                    \
    const char* getButtonText(KWin* win) override;                                 \
    void setButtonText(KWin* win, const char* text) override;

// Host 3.1.
class OMBREL_API KDocWrapper31 : public KDocWrapper {
public:
    static KDocWrapper31& instance();
    // Walks from the active view to the top of the window tree under the
    // fault catcher, checking the links; false for a null document, a broken
    // link, a chain of 20 or more windows, or a memory fault.
    bool docIsValid(KDoc* doc);
    OMBREL_KDOCWRAPPER_OPERATIONS
};

// Host 3.12.
class OMBREL_API KDocWrapper312 : public KDocWrapper {
public:
    static KDocWrapper312& instance();
    bool docIsValid(KDoc* doc);
    OMBREL_KDOCWRAPPER_OPERATIONS
};

// Host 3.12 build 27 (window layout of 3.1, fixed-point image extents).
class OMBREL_API KDocWrapper312B27 : public KDocWrapper {
public:
    static KDocWrapper312B27& instance();
    bool docIsValid(KDoc* doc);
    OMBREL_KDOCWRAPPER_OPERATIONS
};

// Host 3.12 build 43.
class OMBREL_API KDocWrapper312B43 : public KDocWrapper {
public:
    static KDocWrapper312B43& instance();
    bool docIsValid(KDoc* doc);
    OMBREL_KDOCWRAPPER_OPERATIONS
};

// Host 3.12 build 46.
class OMBREL_API KDocWrapper312B46 : public KDocWrapper {
public:
    static KDocWrapper312B46& instance();
    bool docIsValid(KDoc* doc);
    OMBREL_KDOCWRAPPER_OPERATIONS
};

#undef OMBREL_KDOCWRAPPER_OPERATIONS

// The script utility of host 3.12 build 46. The utility pointer is itself the
// host's entry point, called as a cdecl C function with six 32-bit arguments.
// The script's characters are passed as a 32-bit host address: in the 64-bit
// build a script whose text lies above 4 GiB is first copied into a buffer
// below 4 GiB (false when no such buffer can be had).
class OMBREL_API KUtilWrapper312B46 : public KUtilWrapper {
public:
    static KUtilWrapper312B46& instance();
    // False for a null utility; otherwise true exactly when the entry point
    // returns 0.
    bool runKScript(KUtility* utility, const QMString& script) override;
};
