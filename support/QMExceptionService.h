#pragma once

#include "support/OmbrelApi.h"

#include <setjmp.h>
#include <signal.h>

#include <utility>

// Guarded reads of host memory.
//
// The host hands the plug-in raw pointers that may be stale or laid out for
// another host build. Reads through them run under a catcher: a memory-access
// fault (SIGSEGV or SIGBUS) during the guarded stretch jumps back to the
// catcher's jump point instead of killing the host, and the read reports
// failure. Every other signal, and every fault outside a guarded stretch, goes
// on to whatever handler was installed before, exactly as without this
// service.
//
// Catchers belong to the thread that starts them: each thread has its own
// stack of catchers, and a fault is handed to the top catcher of the thread
// that faulted. A fault on a thread with no catcher of its own goes on to the
// previous handler, exactly as a fault outside any catcher does, whatever
// other threads are guarding.

// A fault kind; 0 means none. Kinds 3 to 7 are the memory-access faults.
class OMBREL_API QMException {
public:
    enum Kind {
        kNone = 0,
        kAccessException = 3,        // SIGSEGV on a mapped page the access is not allowed to (SEGV_ACCERR)
        kUnmappedMemory = 4,         // SIGSEGV on an address with no mapping (SEGV_MAPERR)
        kExcludedMemory = 5,         // not produced on this platform; accepted when raised
        kReadOnlyMemory = 6,         // not produced on this platform (writes to read-only pages are kind 3)
        kUnresolvablePageFault = 7,  // SIGBUS: the page cannot be brought in (e.g. past the end of a mapped file)
    };

    explicit QMException(int kind = kNone) : m_kind(kind) {}

    int kind() const { return m_kind; }
    void clear() { m_kind = kNone; }

    // True for the kinds the service catches (3 to 7).
    static bool isMemoryAccessKind(int kind) { return kind >= kAccessException && kind <= kUnresolvablePageFault; }

    int m_kind;
};

// One guarded stretch: a link in the service's stack of active catchers, the
// fault that ended the stretch, and the jump buffer the fault resumes at.
// Catchers must be stopped in the reverse order of starting.
class OMBREL_API QMExceptionCatcher {
public:
    QMExceptionCatcher();
    ~QMExceptionCatcher();

    QMExceptionCatcher(const QMExceptionCatcher&) = delete;
    QMExceptionCatcher& operator=(const QMExceptionCatcher&) = delete;

    // Marks the catcher active, clears its exception and pushes it on the
    // service's stack. Always returns true.
    bool start();
    // If active: pops the service's stack and marks the catcher inactive.
    // Otherwise does nothing.
    void stop();

    QMException getException() const { return m_exception; }
    // Stores `e` and resumes at the jump buffer with value 1.
    [[noreturn]] void raise(QMException e);

    // Filled by the guarded code with sigsetjmp(jumpBuffer(), 1), so that the
    // signal mask of the guarded code is restored when a fault jumps back.
    sigjmp_buf& jumpBuffer() { return m_jumpBuffer; }

    bool isActive() const { return m_active; }
    // The catcher that was on top of the stack when this one started.
    QMExceptionCatcher* next() const { return m_next; }

private:
    friend class QMExceptionService;

    QMExceptionCatcher* m_next;
    QMException m_exception;
    bool m_active;
    sigjmp_buf m_jumpBuffer;
};

// The process-wide fault handler and the stack of active catchers.
//
// The handler is a sigaction handler for SIGSEGV and SIGBUS, installed for
// the whole process when the first thread's stack goes from empty to one
// catcher; the dispositions it replaced are put back when the last thread's
// stack becomes empty again. Nested catchers, and the catchers of all
// threads, share one installation.
class OMBREL_API QMExceptionService {
public:
    // The signals the handler is installed for, in the order of
    // s_oldExceptionHandler.
    static constexpr int kSignalCount = 2;
    static constexpr int kHandledSignals[kSignalCount] = {SIGSEGV, SIGBUS};

    // Builds the handler's sigaction record (s_exceptionHandler) if it does
    // not exist yet.
    static void init();
    // Frees that record, if any, and forgets it. An installation in place
    // stays in place until its stack empties; the next start builds a new one.
    static void destroy();

    // Pushes `catcher`; when the stack was empty, init()s and installs the
    // handler, keeping the replaced dispositions in s_oldExceptionHandler.
    static void startExceptionCatcher(QMExceptionCatcher& catcher);
    // Pops the top catcher, whichever catcher asked; when the stack becomes
    // empty, reinstalls s_oldExceptionHandler. Nothing on an empty stack.
    static void stopExceptionCatcher();

    // The sigaction handler. Hands a memory-access fault to the top catcher
    // (does not return then); passes everything else on to the previous
    // handler.
    static void exceptionHandler(int signal, siginfo_t* info, void* context);

    // The handler's decision for one fault kind: raises it on the top catcher
    // when the kind is a memory-access kind and a catcher is active (does not
    // return then); otherwise returns -1, "not handled".
    static int handleException(int kind);

    // The fault kind of a delivered signal: SIGSEGV/SEGV_MAPERR 4, other
    // SIGSEGV faults 3, SIGBUS faults 7. Signals sent by kill/raise (not a
    // processor fault), other signals and a null `info` give 0.
    static int faultKind(int signal, const siginfo_t* info);

    // Top of this thread's stack of active catchers, null when none.
    static thread_local QMExceptionCatcher* s_exceptionCatcher;
    // The dispositions in place before the first catcher started, one per
    // entry of kHandledSignals. Meaningful only while the stack is not empty.
    static struct sigaction s_oldExceptionHandler[kSignalCount];
    // The service's own handler as a sigaction record, built by init().
    static struct sigaction* s_exceptionHandler;

private:
    static void passOn(int signal, siginfo_t* info, void* context);
    // A thread's stack became non-empty, or empty: the first installs the
    // handler, the last puts the previous dispositions back.
    static void stackStarted();
    static void stackEmptied();
};

// Runs `reads` under a catcher. Returns false when a memory-access fault
// (SIGSEGV/SIGBUS) interrupted it, true otherwise; `fault`, when given,
// receives the fault (kind 0 after a clean run).
//
// A fault abandons `reads` where it happened: no C++ unwinding takes place,
// so `reads` must consist of plain reads (and writes) of memory and must not
// hold objects with non-trivial destructors, locks or allocations that a
// fault would leave behind. Store results into lasting state only after
// readGuarded returned true.
template <class Reads>
bool readGuarded(Reads&& reads, QMException* fault) {
    QMExceptionCatcher catcher;
    catcher.start();
    if (sigsetjmp(catcher.jumpBuffer(), 1) != 0) {
        catcher.stop();
        try {
            throw catcher.getException();
        } catch (const QMException& e) {
            if (fault) *fault = e;
            return false;
        }
    }
    std::forward<Reads>(reads)();
    catcher.stop();
    if (fault) fault->clear();
    return true;
}

template <class Reads>
bool readGuarded(Reads&& reads) {
    return readGuarded(std::forward<Reads>(reads), static_cast<QMException*>(nullptr));
}
