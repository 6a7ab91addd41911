#pragma once

#include "support/OmbrelApi.h"
#include "support/QMString.h"

#include <functional>

// Messages meant for the user of the host. This build shows nothing; an
// observer (tests) can be set to receive each message and its title.
class OMBREL_API QMInfoMsg {
public:
    using Observer = std::function<void(const char* text, const char* title)>;

    static void display(const QMString& text, const QMString& title);
    static void setObserver(Observer observer);

private:
    static Observer s_observer;
};
