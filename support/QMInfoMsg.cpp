#include "support/QMInfoMsg.h"

#include <utility>

QMInfoMsg::Observer QMInfoMsg::s_observer;

void QMInfoMsg::display(const QMString& text, const QMString& title) {
    if (s_observer) s_observer(text.c_str(), title.c_str());
}

void QMInfoMsg::setObserver(Observer observer) { s_observer = std::move(observer); }
