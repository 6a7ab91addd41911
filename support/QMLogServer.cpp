#include "support/QMLogServer.h"

#include <utility>

bool QMLogServer::m_initialized = false;
std::clock_t QMLogServer::s_startclock = 0;
QMLogServer::Observer QMLogServer::s_observer;

void QMLogServer::init() {
    m_initialized = true;
    std::time(nullptr);
    s_startclock = std::clock();
}

void QMLogServer::setLogFile(QMString) {}
void QMLogServer::showLogWindow() {}
void QMLogServer::enableLogWindow(bool) {}
void QMLogServer::clear() {}

void QMLogServer::setObserver(Observer observer) { s_observer = std::move(observer); }

void QMLogServer::deliver(const QMString& format, std::initializer_list<QMLogArgument> arguments) {
    std::string line = formatLogLine(format.c_str(), arguments);
    s_observer(line.c_str());
}
