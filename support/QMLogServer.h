#pragma once

#include "support/OmbrelApi.h"
#include "support/QMLogArgument.h"
#include "support/QMString.h"

#include <ctime>
#include <functional>

// The plug-in's log. In this build it writes nowhere: every entry point and
// reader still forms its lines, in order, and hands them here, where they are
// dropped. An observer (tests, the command-line front end) can be set to
// receive each line as formatted text; with none set, lines are not formatted.
class OMBREL_API QMLogServer {
public:
    using Observer = std::function<void(const char* line)>;

    // Marks the service initialised, reads the time (unused) and keeps the
    // clock reading at start.
    static void init();
    static void setLogFile(QMString path);
    static void showLogWindow();
    static void enableLogWindow(bool enable);
    static void clear();

    // One line: a printf-style format, then its arguments.
    template <class... Arguments>
    static void printLine(QMString format, const Arguments&... arguments) {
        if (s_observer) deliver(format, {QMLogArgument(arguments)...});
    }

    // Installs (or, with an empty function, removes) the line observer.
    static void setObserver(Observer observer);

    static bool m_initialized;
    static std::clock_t s_startclock;

private:
    static void deliver(const QMString& format, std::initializer_list<QMLogArgument> arguments);
    static Observer s_observer;
};
