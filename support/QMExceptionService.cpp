#include "support/QMExceptionService.h"

#include <cstring>
#include <mutex>

thread_local QMExceptionCatcher* QMExceptionService::s_exceptionCatcher = nullptr;

namespace {

// The threads whose stack of catchers is not empty, and the lock that keeps
// installing and restoring the handler in step with that count.
std::mutex s_installation;
int s_threadsGuarding = 0;

}  // namespace
struct sigaction QMExceptionService::s_oldExceptionHandler[QMExceptionService::kSignalCount];
struct sigaction* QMExceptionService::s_exceptionHandler = nullptr;

// ---------------------------------------------------------------- catcher

QMExceptionCatcher::QMExceptionCatcher() : m_next(nullptr), m_exception(), m_active(false) {
    std::memset(&m_jumpBuffer, 0, sizeof(m_jumpBuffer));
}

QMExceptionCatcher::~QMExceptionCatcher() { stop(); }

bool QMExceptionCatcher::start() {
    m_active = true;
    m_exception.clear();
    QMExceptionService::startExceptionCatcher(*this);
    return true;
}

void QMExceptionCatcher::stop() {
    if (!m_active) return;
    QMExceptionService::stopExceptionCatcher();
    m_active = false;
}

void QMExceptionCatcher::raise(QMException e) {
    m_exception = e;
    siglongjmp(m_jumpBuffer, 1);
}

// ---------------------------------------------------------------- service

void QMExceptionService::init() {
    if (s_exceptionHandler) return;
    auto* handler = new struct sigaction;
    std::memset(handler, 0, sizeof(*handler));
    handler->sa_sigaction = &QMExceptionService::exceptionHandler;
    // No SA_NODEFER: the fault's signal stays blocked while the handler runs,
    // and the jump back restores the guarded code's mask (sigsetjmp(.., 1)).
    handler->sa_flags = SA_SIGINFO;
    sigemptyset(&handler->sa_mask);
    s_exceptionHandler = handler;
}

void QMExceptionService::destroy() {
    delete s_exceptionHandler;
    s_exceptionHandler = nullptr;
}

void QMExceptionService::startExceptionCatcher(QMExceptionCatcher& catcher) {
    catcher.m_next = s_exceptionCatcher;
    if (!catcher.m_next) stackStarted();  // nested: the handler is already in place
    s_exceptionCatcher = &catcher;
}

void QMExceptionService::stackStarted() {
    std::lock_guard<std::mutex> lock(s_installation);
    if (s_threadsGuarding++ != 0) return;
    init();
    for (int i = 0; i < kSignalCount; ++i) sigaction(kHandledSignals[i], s_exceptionHandler, &s_oldExceptionHandler[i]);
}

void QMExceptionService::stackEmptied() {
    std::lock_guard<std::mutex> lock(s_installation);
    if (--s_threadsGuarding != 0) return;
    for (int i = 0; i < kSignalCount; ++i) sigaction(kHandledSignals[i], &s_oldExceptionHandler[i], nullptr);
}

void QMExceptionService::stopExceptionCatcher() {
    QMExceptionCatcher* top = s_exceptionCatcher;
    if (!top) return;
    s_exceptionCatcher = top->m_next;
    top->m_next = nullptr;
    if (!s_exceptionCatcher) stackEmptied();
}

int QMExceptionService::faultKind(int signal, const siginfo_t* info) {
    // A code of zero or below marks a signal sent by a process (kill, raise,
    // sigqueue); only codes above zero come from a processor fault.
    if (!info || info->si_code <= 0) return QMException::kNone;
    switch (signal) {
        case SIGSEGV:
            return info->si_code == SEGV_MAPERR ? QMException::kUnmappedMemory : QMException::kAccessException;
        case SIGBUS:
            return QMException::kUnresolvablePageFault;
        default:
            return QMException::kNone;
    }
}

int QMExceptionService::handleException(int kind) {
    if (!QMException::isMemoryAccessKind(kind)) return -1;
    if (s_exceptionCatcher) s_exceptionCatcher->raise(QMException(kind));
    return -1;
}

void QMExceptionService::exceptionHandler(int signal, siginfo_t* info, void* context) {
    handleException(faultKind(signal, info));
    passOn(signal, info, context);
}

// Delivers a signal the service does not handle as the kernel would have
// delivered it to the disposition in place before the first catcher started.
void QMExceptionService::passOn(int signal, siginfo_t* info, void* context) {
    int index = 0;
    while (index < kSignalCount && kHandledSignals[index] != signal) ++index;
    if (index == kSignalCount) return;
    const struct sigaction& old = s_oldExceptionHandler[index];

    if (!(old.sa_flags & SA_SIGINFO) && old.sa_handler == SIG_IGN) {
        // A sent signal is dropped, as it would have been. A processor fault
        // cannot be ignored: returning would run the faulting instruction
        // again forever, and without this handler the kernel kills the
        // process. Do the same below.
        if (!info || info->si_code <= 0) return;
    } else if ((old.sa_flags & SA_SIGINFO) || old.sa_handler != SIG_DFL) {
        // A function: call it as the kernel would, with its own mask added.
        // Leaving this handler restores the mask in force before the signal.
        const struct sigaction target = old;
        if (target.sa_flags & SA_RESETHAND) {
            // A one-shot handler: the kernel would have put the default
            // action back before calling it. That is what the last stop
            // reinstalls; until then the service's handler stays in place.
            struct sigaction& kept = s_oldExceptionHandler[index];
            std::memset(&kept, 0, sizeof(kept));
            kept.sa_handler = SIG_DFL;
            sigemptyset(&kept.sa_mask);
        }
        sigset_t mask = target.sa_mask;
        if (!(target.sa_flags & SA_NODEFER)) sigaddset(&mask, signal);
        sigprocmask(SIG_BLOCK, &mask, nullptr);
        if (target.sa_flags & SA_SIGINFO)
            target.sa_sigaction(signal, info, context);
        else
            target.sa_handler(signal);
        return;
    }

    // The default action: put it back and send the signal again. It stays
    // blocked until this handler returns, then ends the process as the
    // original signal would have.
    struct sigaction defaultAction;
    std::memset(&defaultAction, 0, sizeof(defaultAction));
    defaultAction.sa_handler = SIG_DFL;
    sigemptyset(&defaultAction.sa_mask);
    sigaction(signal, &defaultAction, nullptr);
    ::raise(signal);
}
