#include "host/KDocWrapper.h"
#include "host/KelvraHelper.h"

// Finding, indexing and relinking windows in the host's user-interface tree.
// Every read and write of a window goes through s_docWrapper, so the same code
// serves every host layout. Callers check s_docIsValid first.

namespace {

// Depth-first search for the window that path names below start. A path is a
// list of window texts separated by ':', compared ignoring case over the whole
// text. Windows without text are grouping levels that paths do not mention:
// the whole path is searched again below them.
KWin* findWindowFromPath(KDocWrapper* wrapper, KWin* start, const QMString& path) {
    if (path.empty()) return start;
    if (!start) return nullptr;

    const int colon = path.findFirstCharOf(":");
    const QMString head = colon < 0 ? path : path.subString(0, colon);
    const QMString rest = colon < 0 ? QMString("") : path.subString(colon + 1, -1);

    // A candidate's match: its own subtree first, then (for a window without
    // text) the unsplit path below it. Null when neither holds the path.
    auto tryCandidate = [&](KWin* candidate) -> KWin* {
        const char* text = wrapper->getWinText(candidate);
        if (QMString::cmpNoCase(text, head.c_str(), -1) == 0) {
            if (KWin* found = findWindowFromPath(wrapper, candidate, rest)) return found;
        }
        if (text && text[0]) return nullptr;
        return findWindowFromPath(wrapper, candidate, path);
    };

    if (KPulldownWin* pulldown = wrapper->getPulldownWin(start)) {
        // A pull-down list's entries, in index order; entries that sit in the
        // tree elsewhere (they have a parent) are not part of the list's path.
        const int count = wrapper->getWinCountInPulldownWin(pulldown);
        for (int i = 0; i < count; ++i) {
            KWin* entry = wrapper->getWinInPulldownWin(pulldown, i);
            if (!entry || wrapper->getParentWin(entry)) continue;
            if (KWin* found = tryCandidate(entry)) return found;
        }
        return nullptr;
    }

    for (KWin* child = wrapper->getChildWin(start); child; child = wrapper->getNextWin(child)) {
        if (KWin* found = tryCandidate(child)) return found;
    }
    return nullptr;
}

}  // namespace

// The first of the top-level windows of win's tree: climbs parents, and at the
// top walks back along the previous siblings. Null for a null window.
KWin* KelvraHelper::getRootWindow(KWin* win) {
    if (!win) return nullptr;
    for (;;) {
        if (KWin* parent = s_docWrapper->getParentWin(win)) {
            win = parent;
        } else if (KWin* prev = s_docWrapper->getPrevWin(win)) {
            win = prev;
        } else {
            return win;
        }
    }
}

KWin* KelvraHelper::getParentWindow(KWin* win) { return win ? s_docWrapper->getParentWin(win) : nullptr; }

// An empty path names start itself; otherwise the first window in tree order
// whose texts follow the path, or null. Null for a null start and a non-empty
// path.
KWin* KelvraHelper::getWindowFromPath(KWin* start, const QMString& path) {
    return findWindowFromPath(s_docWrapper, start, path);
}

// 0-based position among the parent's children; -1 for a null window, a
// window without parent, or one the parent's child list does not reach.
int KelvraHelper::getWindowChildIndex(KWin* win) {
    if (!win) return -1;
    KWin* parent = s_docWrapper->getParentWin(win);
    if (!parent) return -1;
    int index = 0;
    for (KWin* child = s_docWrapper->getChildWin(parent); child; child = s_docWrapper->getNextWin(child)) {
        if (child == win) return index;
        ++index;
    }
    return -1;
}

// Unlinks win from its parent and siblings; its own children stay attached.
// False, with nothing changed, for a null window or one that is already
// detached (no parent, no previous and no next sibling).
bool KelvraHelper::disconnectWindow(KWin* win) {
    if (!win) return false;
    KDocWrapper* wrapper = s_docWrapper;
    KWin* parent = wrapper->getParentWin(win);
    KWin* prev = wrapper->getPrevWin(win);
    KWin* next = wrapper->getNextWin(win);
    if (!parent && !prev && !next) return false;

    if (parent && wrapper->getChildWin(parent) == win) wrapper->setChildWin(parent, next);
    if (prev) wrapper->setNextWin(prev, next);
    if (next) wrapper->setPrevWin(next, prev);

    wrapper->setParentWin(win, nullptr);
    wrapper->setPrevWin(win, nullptr);
    wrapper->setNextWin(win, nullptr);
    return true;
}

// Relinks win as a child of newParent at index: into an empty child list
// (index ignored), after the index-th child counted from 1 (past the end:
// last), or first for index <= 0. A move onto win's own place is refused:
// false when win is already the first child (index <= 0) or when the
// neighbours found for index > 0 include win itself.
bool KelvraHelper::moveWindow(KWin* win, KWin* newParent, int index) {
    if (!win || !newParent) return false;
    KDocWrapper* wrapper = s_docWrapper;
    KWin* first = wrapper->getChildWin(newParent);

    if (!first) {
        disconnectWindow(win);
        wrapper->setParentWin(win, newParent);
        wrapper->setChildWin(newParent, win);
        return true;
    }

    if (index > 0) {
        // The neighbours are found before win is unlinked; since win is
        // neither of them, unlinking it leaves them in place.
        KWin* prev = first;
        KWin* next = wrapper->getNextWin(first);
        while (index > 1 && next) {
            prev = next;
            next = wrapper->getNextWin(next);
            --index;
        }
        if (win == prev || win == next) return false;

        disconnectWindow(win);
        wrapper->setParentWin(win, newParent);
        wrapper->setPrevWin(win, prev);
        wrapper->setNextWin(win, next);
        wrapper->setNextWin(prev, win);
        if (next) wrapper->setPrevWin(next, win);
        return true;
    }

    if (win == first) return false;
    disconnectWindow(win);
    wrapper->setParentWin(win, newParent);
    wrapper->setNextWin(win, first);
    wrapper->setChildWin(newParent, win);
    wrapper->setPrevWin(first, win);
    return true;
}
