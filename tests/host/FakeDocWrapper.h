#pragma once

#include "host/KDocWrapper.h"

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

// A document wrapper over plain C++ window objects, for testing the helper's
// window and progress-bar operations without host memory. Windows, text
// records and images are owned by the fake and keep their addresses; a KWin*
// handed out is the address of a FakeDocWrapper::Window. Text records and
// image owners are shared by pointer, as in the host, so swaps move pointers.
class FakeDocWrapper : public KDocWrapper {
public:
    struct TextRecord {
        std::string chars;
    };

    struct Image {
        std::vector<unsigned char> pixels;  // an empty vector gives a null pixel pointer
        std::uint32_t bufferSize = 0;
        std::int32_t rowBytes = 0;
    };

    struct Window {
        Window* parent = nullptr;
        Window* child = nullptr;
        Window* next = nullptr;
        Window* prev = nullptr;
        bool hasDescriptor = false;
        bool pulldown = false;
        TextRecord* text = nullptr;
        TextRecord* name = nullptr;    // the descriptor's name record
        TextRecord* text2 = nullptr;   // the descriptor's second text record
        std::vector<Window*> entries;  // pull-down entries
        Image* image = nullptr;        // the image owner
    };

    // A detached window; with a non-null text it has its own text record.
    KWin* create(const char* text = nullptr);
    // A detached window appended as the last child of parent.
    KWin* addChild(KWin* parent, const char* text = nullptr);
    // Links win as the next sibling of prev (same parent), after prev's old
    // next sibling's place.
    void linkAfter(KWin* prev, KWin* win);

    // Gives the window a descriptor (if it has none) with a name record.
    void setName(KWin* win, const char* name);
    // Gives the window a descriptor (if it has none) with a second text record.
    void setText2(KWin* win, const char* text);
    // Gives the window a descriptor and makes it a pull-down list of entries.
    void makePulldown(KWin* win, const std::vector<KWin*>& entries);

    // Gives the window an image of rows x rowBytes bytes, every byte 255
    // (background); the pixels can be changed through the returned image.
    Image& setImage(KWin* win, int rows, int rowBytes);
    // Gives the window an image owner whose image has no pixels.
    Image& setEmptyImage(KWin* win);

    static Window& at(KWin* win) { return *reinterpret_cast<Window*>(win); }
    static KWin* handle(Window* win) { return reinterpret_cast<KWin*>(win); }
    // The window's children, from the first child along the next links.
    std::vector<KWin*> children(KWin* parent) const;

    KWin* getActiveView(KDoc* doc) override;
    KWin* getParentWin(KWin* win) override;
    void setParentWin(KWin* win, KWin* parent) override;
    KWin* getChildWin(KWin* win) override;
    void setChildWin(KWin* win, KWin* child) override;
    KWin* getPrevWin(KWin* win) override;
    void setPrevWin(KWin* win, KWin* prev) override;
    KWin* getNextWin(KWin* win) override;
    void setNextWin(KWin* win, KWin* next) override;
    const char* getWinText(KWin* win) override;
    const char* getWinName(KWin* win) override;
    QMString getFullPathName(KWin* win) override;
    KPulldownWin* getPulldownWin(KWin* win) override;
    int getWinCountInPulldownWin(KPulldownWin* win) override;
    KWin* getWinInPulldownWin(KPulldownWin* win, int index) override;
    void swapWinText(KWin* a, KWinTextType ta, KWin* b, KWinTextType tb) override;
    void swapWinImage(KWin* a, KWin* b) override;
    void copyButtonNameToButtonText(KWin* win) override;
    KBitmap getButtonImage(KWin* win) override;
    const char* getButtonText(KWin* win) override;
    void setButtonText(KWin* win, const char* text) override;

private:
    TextRecord* newText(const char* text);
    static TextRecord** slot(Window& win, KWinTextType type);

    std::deque<Window> m_windows;
    std::deque<TextRecord> m_texts;
    std::deque<Image> m_images;
};

// A script utility wrapper that records its calls and returns a set result.
class FakeUtilWrapper : public KUtilWrapper {
public:
    bool runKScript(KUtility* utility, const QMString& script) override;

    bool m_result = true;
    int m_calls = 0;
    KUtility* m_lastUtility = nullptr;
    std::string m_lastScript;
};
