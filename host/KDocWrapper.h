#pragma once

#include "host/KBitmap.h"
#include "host/KHostTypes.h"
#include "support/OmbrelApi.h"
#include "support/QMString.h"

// Reads and writes the host's documents and windows for one host build; one
// concrete class per layout (host/KDocWrappers.h). Pointers are trusted:
// only docIsValid (and the mesh validation of KelvraHelper) read under the
// fault catcher.
class OMBREL_API KDocWrapper {
public:
    virtual ~KDocWrapper() = default;

    virtual KWin* getActiveView(KDoc* doc) = 0;
    virtual KWin* getParentWin(KWin* win) = 0;
    virtual void setParentWin(KWin* win, KWin* parent) = 0;
    virtual KWin* getChildWin(KWin* win) = 0;
    virtual void setChildWin(KWin* win, KWin* child) = 0;
    virtual KWin* getPrevWin(KWin* win) = 0;
    virtual void setPrevWin(KWin* win, KWin* prev) = 0;
    virtual KWin* getNextWin(KWin* win) = 0;
    virtual void setNextWin(KWin* win, KWin* next) = 0;
    virtual const char* getWinText(KWin* win) = 0;
    virtual const char* getWinName(KWin* win) = 0;
    virtual QMString getFullPathName(KWin* win) = 0;
    virtual KPulldownWin* getPulldownWin(KWin* win) = 0;
    virtual int getWinCountInPulldownWin(KPulldownWin* win) = 0;
    virtual KWin* getWinInPulldownWin(KPulldownWin* win, int index) = 0;
    virtual void swapWinText(KWin* a, KWinTextType ta, KWin* b, KWinTextType tb) = 0;
    virtual void swapWinImage(KWin* a, KWin* b) = 0;
    virtual void copyButtonNameToButtonText(KWin* win) = 0;
    virtual KBitmap getButtonImage(KWin* win) = 0;
    virtual const char* getButtonText(KWin* win) = 0;
    virtual void setButtonText(KWin* win, const char* text) = 0;
};

// Runs scripts through the host's script utility.
class OMBREL_API KUtilWrapper {
public:
    virtual ~KUtilWrapper() = default;
    virtual bool runKScript(KUtility* utility, const QMString& script) = 0;
};
