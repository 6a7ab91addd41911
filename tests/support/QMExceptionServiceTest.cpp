#include "support/QMExceptionService.h"

#include "Sanitizers.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>

namespace {

// ---------------------------------------------------------------- helpers

volatile sig_atomic_t g_plainHandlerCalls = 0;
volatile sig_atomic_t g_infoHandlerCalls = 0;
volatile sig_atomic_t g_infoHandlerCode = 0;

void recognisableHandler(int, siginfo_t*, void*) { _exit(41); }
void exitingHandler(int, siginfo_t*, void*) { _exit(42); }
void countingPlainHandler(int) { g_plainHandlerCalls = g_plainHandlerCalls + 1; }
void countingInfoHandler(int, siginfo_t* info, void*) {
    g_infoHandlerCalls = g_infoHandlerCalls + 1;
    g_infoHandlerCode = info ? info->si_code : -1000;
}

struct sigaction currentAction(int signal) {
    struct sigaction action;
    std::memset(&action, 0, sizeof(action));
    sigaction(signal, nullptr, &action);
    return action;
}

bool isServiceHandler(const struct sigaction& action) {
    return (action.sa_flags & SA_SIGINFO) && action.sa_sigaction == &QMExceptionService::exceptionHandler;
}

bool isInfoHandler(const struct sigaction& action, void (*handler)(int, siginfo_t*, void*)) {
    return (action.sa_flags & SA_SIGINFO) && action.sa_sigaction == handler;
}

void installInfoHandler(int signal, void (*handler)(int, siginfo_t*, void*)) {
    struct sigaction action;
    std::memset(&action, 0, sizeof(action));
    action.sa_sigaction = handler;
    action.sa_flags = SA_SIGINFO;
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
}

void installPlainHandler(int signal, void (*handler)(int)) {
    struct sigaction action;
    std::memset(&action, 0, sizeof(action));
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
}

// Null and unmapped addresses fault here on purpose.
OMBREL_FAULTS_ON_PURPOSE int readInt(const void* address) { return *static_cast<const volatile int*>(address); }
OMBREL_FAULTS_ON_PURPOSE void writeInt(void* address, int value) { *static_cast<volatile int*>(address) = value; }

// One anonymous page with the given protection.
class Page {
public:
    explicit Page(int protection) {
        m_size = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        m_address = mmap(nullptr, m_size, protection, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (m_address == MAP_FAILED) m_address = nullptr;
    }
    ~Page() {
        if (m_address) munmap(m_address, m_size);
    }
    Page(const Page&) = delete;
    Page& operator=(const Page&) = delete;

    void* address() const { return m_address; }

private:
    void* m_address;
    size_t m_size;
};

// An address that was mapped a moment ago and no longer is.
void* unmappedAddress() {
    size_t size = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    void* address = mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (address == MAP_FAILED) return nullptr;
    munmap(address, size);
    return address;
}

// A page of a file mapped, then the file truncated to nothing: reading the
// page cannot be satisfied and raises SIGBUS.
class TruncatedFilePage {
public:
    TruncatedFilePage() {
        m_size = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        char name[] = "/tmp/qmexception-XXXXXX";
        int fd = mkstemp(name);
        if (fd < 0) return;
        unlink(name);
        if (ftruncate(fd, static_cast<off_t>(m_size)) == 0) {
            void* address = mmap(nullptr, m_size, PROT_READ, MAP_SHARED, fd, 0);
            if (address != MAP_FAILED) m_address = address;
            if (ftruncate(fd, 0) != 0 && m_address) {
                munmap(m_address, m_size);
                m_address = nullptr;
            }
        }
        close(fd);
    }
    ~TruncatedFilePage() {
        if (m_address) munmap(m_address, m_size);
    }
    TruncatedFilePage(const TruncatedFilePage&) = delete;
    TruncatedFilePage& operator=(const TruncatedFilePage&) = delete;

    const void* address() const { return m_address; }

private:
    void* m_address = nullptr;
    size_t m_size = 0;
};

// Keeps the dispositions of SIGSEGV and SIGBUS as found and puts them back
// after the test; checks that the test left no catcher on the stack.
class QMExceptionServiceTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_savedSegv = currentAction(SIGSEGV);
        m_savedBus = currentAction(SIGBUS);
        g_plainHandlerCalls = 0;
        g_infoHandlerCalls = 0;
        g_infoHandlerCode = 0;
    }
    void TearDown() override {
        EXPECT_EQ(QMExceptionService::s_exceptionCatcher, nullptr);
        sigaction(SIGSEGV, &m_savedSegv, nullptr);
        sigaction(SIGBUS, &m_savedBus, nullptr);
    }

    struct sigaction m_savedSegv;
    struct sigaction m_savedBus;
};

siginfo_t makeInfo(int signal, int code) {
    siginfo_t info;
    std::memset(&info, 0, sizeof(info));
    info.si_signo = signal;
    info.si_code = code;
    return info;
}

}  // namespace

// ---------------------------------------------------------------- QMException

TEST(QMException, DefaultKindIsZero) {
    QMException e;
    EXPECT_EQ(e.kind(), 0);
    EXPECT_EQ(e.m_kind, 0);
}

TEST(QMException, KeepsItsKindAndCopies) {
    QMException e(5);
    QMException copy = e;
    EXPECT_EQ(e.kind(), 5);
    EXPECT_EQ(copy.kind(), 5);
}

TEST(QMException, ClearSetsKindToZero) {
    QMException e(7);
    e.clear();
    EXPECT_EQ(e.kind(), 0);
}

TEST(QMException, MemoryAccessKindsAreThreeToSeven) {
    EXPECT_FALSE(QMException::isMemoryAccessKind(0));
    EXPECT_FALSE(QMException::isMemoryAccessKind(2));
    EXPECT_TRUE(QMException::isMemoryAccessKind(3));
    EXPECT_TRUE(QMException::isMemoryAccessKind(5));
    EXPECT_TRUE(QMException::isMemoryAccessKind(7));
    EXPECT_FALSE(QMException::isMemoryAccessKind(8));
    EXPECT_FALSE(QMException::isMemoryAccessKind(-3));
}

// ---------------------------------------------------------------- catcher and stack

TEST_F(QMExceptionServiceTest, NewCatcherIsInactiveWithNoExceptionAndNoLink) {
    QMExceptionCatcher catcher;
    EXPECT_FALSE(catcher.isActive());
    EXPECT_EQ(catcher.getException().kind(), 0);
    EXPECT_EQ(catcher.next(), nullptr);
    EXPECT_EQ(QMExceptionService::s_exceptionCatcher, nullptr);
}

TEST_F(QMExceptionServiceTest, StartReturnsTruePushesAndStopPops) {
    QMExceptionCatcher catcher;
    EXPECT_TRUE(catcher.start());
    EXPECT_TRUE(catcher.isActive());
    EXPECT_EQ(QMExceptionService::s_exceptionCatcher, &catcher);
    EXPECT_EQ(catcher.next(), nullptr);
    catcher.stop();
    EXPECT_FALSE(catcher.isActive());
    EXPECT_EQ(QMExceptionService::s_exceptionCatcher, nullptr);
}

TEST_F(QMExceptionServiceTest, NestedCatchersLinkToThePreviousTop) {
    QMExceptionCatcher outer;
    QMExceptionCatcher inner;
    outer.start();
    inner.start();
    EXPECT_EQ(QMExceptionService::s_exceptionCatcher, &inner);
    EXPECT_EQ(inner.next(), &outer);
    EXPECT_EQ(outer.next(), nullptr);
    inner.stop();
    EXPECT_EQ(QMExceptionService::s_exceptionCatcher, &outer);
    EXPECT_EQ(inner.next(), nullptr);
    outer.stop();
    EXPECT_EQ(QMExceptionService::s_exceptionCatcher, nullptr);
}

TEST_F(QMExceptionServiceTest, NestedCatchersInstallOnceAndRestoreOnce) {
    installInfoHandler(SIGSEGV, recognisableHandler);
    installInfoHandler(SIGBUS, recognisableHandler);
    QMExceptionCatcher outer;
    QMExceptionCatcher inner;

    outer.start();
    EXPECT_TRUE(isServiceHandler(currentAction(SIGSEGV)));
    EXPECT_TRUE(isServiceHandler(currentAction(SIGBUS)));

    inner.start();
    EXPECT_TRUE(isServiceHandler(currentAction(SIGSEGV)));
    EXPECT_TRUE(isServiceHandler(currentAction(SIGBUS)));
    // Installed once: what it replaced is still the test's handler, not itself.
    EXPECT_TRUE(isInfoHandler(QMExceptionService::s_oldExceptionHandler[0], recognisableHandler));
    EXPECT_TRUE(isInfoHandler(QMExceptionService::s_oldExceptionHandler[1], recognisableHandler));

    inner.stop();
    EXPECT_TRUE(isServiceHandler(currentAction(SIGSEGV)));
    EXPECT_TRUE(isServiceHandler(currentAction(SIGBUS)));

    outer.stop();
    EXPECT_TRUE(isInfoHandler(currentAction(SIGSEGV), recognisableHandler));
    EXPECT_TRUE(isInfoHandler(currentAction(SIGBUS), recognisableHandler));
}

TEST_F(QMExceptionServiceTest, DefaultDispositionIsRestoredAfterTheLastStop) {
    installPlainHandler(SIGSEGV, SIG_DFL);
    {
        QMExceptionCatcher catcher;
        catcher.start();
        EXPECT_TRUE(isServiceHandler(currentAction(SIGSEGV)));
    }
    struct sigaction after = currentAction(SIGSEGV);
    EXPECT_FALSE(after.sa_flags & SA_SIGINFO);
    EXPECT_EQ(after.sa_handler, SIG_DFL);
}

TEST_F(QMExceptionServiceTest, StopTwiceChangesNothing) {
    installInfoHandler(SIGSEGV, recognisableHandler);
    QMExceptionCatcher outer;
    QMExceptionCatcher inner;
    outer.start();
    inner.start();
    inner.stop();
    inner.stop();
    EXPECT_EQ(QMExceptionService::s_exceptionCatcher, &outer);
    EXPECT_TRUE(outer.isActive());
    EXPECT_TRUE(isServiceHandler(currentAction(SIGSEGV)));
    outer.stop();
    outer.stop();
    EXPECT_EQ(QMExceptionService::s_exceptionCatcher, nullptr);
    EXPECT_TRUE(isInfoHandler(currentAction(SIGSEGV), recognisableHandler));
}

TEST_F(QMExceptionServiceTest, DestructorAfterStopChangesNothing) {
    installInfoHandler(SIGSEGV, recognisableHandler);
    QMExceptionCatcher outer;
    outer.start();
    {
        QMExceptionCatcher inner;
        inner.start();
        inner.stop();
    }
    EXPECT_EQ(QMExceptionService::s_exceptionCatcher, &outer);
    EXPECT_TRUE(isServiceHandler(currentAction(SIGSEGV)));
    outer.stop();
    EXPECT_TRUE(isInfoHandler(currentAction(SIGSEGV), recognisableHandler));
}

TEST_F(QMExceptionServiceTest, DestructorStopsAnActiveCatcher) {
    installInfoHandler(SIGSEGV, recognisableHandler);
    {
        QMExceptionCatcher catcher;
        catcher.start();
    }
    EXPECT_EQ(QMExceptionService::s_exceptionCatcher, nullptr);
    EXPECT_TRUE(isInfoHandler(currentAction(SIGSEGV), recognisableHandler));
}

TEST_F(QMExceptionServiceTest, StopOfNeverStartedCatcherLeavesTheStack) {
    QMExceptionCatcher started;
    QMExceptionCatcher idle;
    started.start();
    idle.stop();
    EXPECT_EQ(QMExceptionService::s_exceptionCatcher, &started);
    started.stop();
}

TEST_F(QMExceptionServiceTest, StopExceptionCatcherOnEmptyStackDoesNothing) {
    installInfoHandler(SIGSEGV, recognisableHandler);
    QMExceptionService::stopExceptionCatcher();
    EXPECT_EQ(QMExceptionService::s_exceptionCatcher, nullptr);
    EXPECT_TRUE(isInfoHandler(currentAction(SIGSEGV), recognisableHandler));
}

TEST_F(QMExceptionServiceTest, StopExceptionCatcherAlwaysPopsTheTop) {
    QMExceptionCatcher outer;
    QMExceptionCatcher inner;
    outer.start();
    inner.start();
    QMExceptionService::stopExceptionCatcher();
    EXPECT_EQ(QMExceptionService::s_exceptionCatcher, &outer);
    EXPECT_EQ(inner.next(), nullptr);
    QMExceptionService::stopExceptionCatcher();
    EXPECT_EQ(QMExceptionService::s_exceptionCatcher, nullptr);
    // Both were popped behind their backs and still count as active; their
    // own stop() now meets an empty stack, where popping does nothing.
    inner.stop();
    outer.stop();
    EXPECT_EQ(QMExceptionService::s_exceptionCatcher, nullptr);
}

TEST_F(QMExceptionServiceTest, InitBuildsTheHandlerRecordOnceAndDestroyForgetsIt) {
    QMExceptionService::destroy();
    EXPECT_EQ(QMExceptionService::s_exceptionHandler, nullptr);
    QMExceptionService::init();
    struct sigaction* first = QMExceptionService::s_exceptionHandler;
    ASSERT_NE(first, nullptr);
    EXPECT_TRUE(isServiceHandler(*first));
    QMExceptionService::init();
    EXPECT_EQ(QMExceptionService::s_exceptionHandler, first);
    QMExceptionService::destroy();
    EXPECT_EQ(QMExceptionService::s_exceptionHandler, nullptr);
    QMExceptionService::destroy();
    EXPECT_EQ(QMExceptionService::s_exceptionHandler, nullptr);
}

TEST_F(QMExceptionServiceTest, StartBuildsTheHandlerRecordWhenMissing) {
    QMExceptionService::destroy();
    QMExceptionCatcher catcher;
    catcher.start();
    EXPECT_NE(QMExceptionService::s_exceptionHandler, nullptr);
    EXPECT_TRUE(isServiceHandler(currentAction(SIGSEGV)));
    catcher.stop();
}

TEST_F(QMExceptionServiceTest, DestroyWhileActiveKeepsTheInstallationUntilTheStackEmpties) {
    installInfoHandler(SIGSEGV, recognisableHandler);
    QMExceptionCatcher catcher;
    catcher.start();
    QMExceptionService::destroy();
    EXPECT_TRUE(isServiceHandler(currentAction(SIGSEGV)));
    catcher.stop();
    EXPECT_TRUE(isInfoHandler(currentAction(SIGSEGV), recognisableHandler));
}

TEST_F(QMExceptionServiceTest, RaiseJumpsBackWithValueOneAndStoresTheKind) {
    QMExceptionCatcher catcher;
    catcher.start();
    volatile int reachedAfterRaise = 0;
    int jumped = sigsetjmp(catcher.jumpBuffer(), 1);
    if (jumped == 0) {
        catcher.raise(QMException(5));
        reachedAfterRaise = 1;
    }
    catcher.stop();
    EXPECT_EQ(jumped, 1);
    EXPECT_EQ(reachedAfterRaise, 0);
    EXPECT_EQ(catcher.getException().kind(), 5);
}

TEST_F(QMExceptionServiceTest, StartClearsThePreviousException) {
    QMExceptionCatcher catcher;
    catcher.start();
    if (sigsetjmp(catcher.jumpBuffer(), 1) == 0) catcher.raise(QMException(6));
    catcher.stop();
    ASSERT_EQ(catcher.getException().kind(), 6);
    catcher.start();
    EXPECT_EQ(catcher.getException().kind(), 0);
    catcher.stop();
}

// ---------------------------------------------------------------- fault kinds

TEST(QMExceptionServiceFaultKind, UnmappedAddressIsKindFour) {
    siginfo_t info = makeInfo(SIGSEGV, SEGV_MAPERR);
    EXPECT_EQ(QMExceptionService::faultKind(SIGSEGV, &info), 4);
}

TEST(QMExceptionServiceFaultKind, AccessErrorIsKindThree) {
    siginfo_t info = makeInfo(SIGSEGV, SEGV_ACCERR);
    EXPECT_EQ(QMExceptionService::faultKind(SIGSEGV, &info), 3);
}

TEST(QMExceptionServiceFaultKind, BusErrorsAreKindSeven) {
    siginfo_t adrerr = makeInfo(SIGBUS, BUS_ADRERR);
    siginfo_t objerr = makeInfo(SIGBUS, BUS_OBJERR);
    EXPECT_EQ(QMExceptionService::faultKind(SIGBUS, &adrerr), 7);
    EXPECT_EQ(QMExceptionService::faultKind(SIGBUS, &objerr), 7);
}

TEST(QMExceptionServiceFaultKind, SentSignalsAreNoFault) {
    siginfo_t user = makeInfo(SIGSEGV, SI_USER);
    siginfo_t tkill = makeInfo(SIGBUS, SI_TKILL);
    siginfo_t queued = makeInfo(SIGSEGV, SI_QUEUE);
    EXPECT_EQ(QMExceptionService::faultKind(SIGSEGV, &user), 0);
    EXPECT_EQ(QMExceptionService::faultKind(SIGBUS, &tkill), 0);
    EXPECT_EQ(QMExceptionService::faultKind(SIGSEGV, &queued), 0);
}

TEST(QMExceptionServiceFaultKind, OtherSignalsAndMissingInfoAreNoFault) {
    siginfo_t ill = makeInfo(SIGILL, ILL_ILLOPC);
    siginfo_t fpe = makeInfo(SIGFPE, FPE_INTDIV);
    EXPECT_EQ(QMExceptionService::faultKind(SIGILL, &ill), 0);
    EXPECT_EQ(QMExceptionService::faultKind(SIGFPE, &fpe), 0);
    EXPECT_EQ(QMExceptionService::faultKind(SIGSEGV, nullptr), 0);
}

// ---------------------------------------------------------------- handler decision

TEST_F(QMExceptionServiceTest, HandleExceptionWithoutCatcherReturnsMinusOne) {
    EXPECT_EQ(QMExceptionService::handleException(3), -1);
    EXPECT_EQ(QMExceptionService::handleException(4), -1);
    EXPECT_EQ(QMExceptionService::handleException(7), -1);
}

TEST_F(QMExceptionServiceTest, HandleExceptionLeavesOtherKindsToOthers) {
    QMExceptionCatcher catcher;
    catcher.start();
    volatile int results[4] = {0, 0, 0, 0};
    if (sigsetjmp(catcher.jumpBuffer(), 1) == 0) {
        results[0] = QMExceptionService::handleException(0);
        results[1] = QMExceptionService::handleException(2);
        results[2] = QMExceptionService::handleException(8);
        results[3] = QMExceptionService::handleException(-1);
    }
    catcher.stop();
    EXPECT_EQ(results[0], -1);
    EXPECT_EQ(results[1], -1);
    EXPECT_EQ(results[2], -1);
    EXPECT_EQ(results[3], -1);
    EXPECT_EQ(catcher.getException().kind(), 0);
}

TEST_F(QMExceptionServiceTest, HandleExceptionRaisesMemoryKindsOnTheTopCatcher) {
    QMExceptionCatcher outer;
    QMExceptionCatcher inner;
    outer.start();
    inner.start();
    volatile int returned = 0;
    int jumped = sigsetjmp(inner.jumpBuffer(), 1);
    if (jumped == 0) returned = QMExceptionService::handleException(5);
    inner.stop();
    outer.stop();
    EXPECT_EQ(jumped, 1);
    EXPECT_EQ(returned, 0);
    EXPECT_EQ(inner.getException().kind(), 5);
    EXPECT_EQ(outer.getException().kind(), 0);
}

// ---------------------------------------------------------------- guarded reads

TEST_F(QMExceptionServiceTest, GuardedReadOfGoodMemoryReturnsTrueAndTheValue) {
    int source = 1234567;
    int value = 0;
    QMException fault(9);
    EXPECT_TRUE(readGuarded([&] { value = readInt(&source); }, &fault));
    EXPECT_EQ(value, 1234567);
    EXPECT_EQ(fault.kind(), 0);
    EXPECT_EQ(QMExceptionService::s_exceptionCatcher, nullptr);
}

TEST_F(QMExceptionServiceTest, GuardedReadWithoutFaultArgumentReturnsTrue) {
    int source = -5;
    int value = 0;
    EXPECT_TRUE(readGuarded([&] { value = readInt(&source); }));
    EXPECT_EQ(value, -5);
}

TEST_F(QMExceptionServiceTest, GuardedReadOfUnmappedAddressIsKindFour) {
    void* address = unmappedAddress();
    ASSERT_NE(address, nullptr);
    int value = 77;
    QMException fault;
    EXPECT_FALSE(readGuarded([&] { value = readInt(address); }, &fault));
    EXPECT_EQ(fault.kind(), 4);
    EXPECT_EQ(value, 77);
}

TEST_F(QMExceptionServiceTest, GuardedReadOfNullIsKindFour) {
    QMException fault;
    int value = 0;
    EXPECT_FALSE(readGuarded([&] { value = readInt(nullptr); }, &fault));
    EXPECT_EQ(fault.kind(), 4);
}

TEST_F(QMExceptionServiceTest, GuardedReadWithoutFaultArgumentReturnsFalseOnFault) {
    void* address = unmappedAddress();
    ASSERT_NE(address, nullptr);
    EXPECT_FALSE(readGuarded([&] { (void)readInt(address); }));
}

TEST_F(QMExceptionServiceTest, GuardedReadOfProtectedPageIsKindThree) {
    Page page(PROT_NONE);
    ASSERT_NE(page.address(), nullptr);
    QMException fault;
    EXPECT_FALSE(readGuarded([&] { (void)readInt(page.address()); }, &fault));
    EXPECT_EQ(fault.kind(), 3);
}

TEST_F(QMExceptionServiceTest, GuardedWriteToReadOnlyPageIsKindThree) {
    Page page(PROT_READ);
    ASSERT_NE(page.address(), nullptr);
    QMException fault;
    EXPECT_FALSE(readGuarded([&] { writeInt(page.address(), 1); }, &fault));
    EXPECT_EQ(fault.kind(), 3);
    EXPECT_EQ(readInt(page.address()), 0);
}

TEST_F(QMExceptionServiceTest, GuardedReadPastTheEndOfAMappedFileIsKindSeven) {
    TruncatedFilePage page;
    ASSERT_NE(page.address(), nullptr);
    QMException fault;
    EXPECT_FALSE(readGuarded([&] { (void)readInt(page.address()); }, &fault));
    EXPECT_EQ(fault.kind(), 7);
}

TEST_F(QMExceptionServiceTest, FaultStopsTheReadsWhereItHappened) {
    void* address = unmappedAddress();
    ASSERT_NE(address, nullptr);
    int source = 3;
    volatile int before = 0;
    volatile int after = 0;
    EXPECT_FALSE(readGuarded([&] {
        before = readInt(&source);
        after = readInt(address);
    }));
    EXPECT_EQ(before, 3);
    EXPECT_EQ(after, 0);
}

TEST_F(QMExceptionServiceTest, PreviousHandlersAreBackAfterACaughtFault) {
    installInfoHandler(SIGSEGV, recognisableHandler);
    installInfoHandler(SIGBUS, recognisableHandler);
    void* address = unmappedAddress();
    ASSERT_NE(address, nullptr);
    EXPECT_FALSE(readGuarded([&] { (void)readInt(address); }));
    EXPECT_TRUE(isInfoHandler(currentAction(SIGSEGV), recognisableHandler));
    EXPECT_TRUE(isInfoHandler(currentAction(SIGBUS), recognisableHandler));
    EXPECT_EQ(QMExceptionService::s_exceptionCatcher, nullptr);
}

TEST_F(QMExceptionServiceTest, SignalMaskIsRestoredAfterACaughtFault) {
    sigset_t before;
    sigprocmask(SIG_BLOCK, nullptr, &before);
    ASSERT_FALSE(sigismember(&before, SIGSEGV));
    EXPECT_FALSE(readGuarded([] { (void)readInt(nullptr); }));
    sigset_t after;
    sigprocmask(SIG_BLOCK, nullptr, &after);
    EXPECT_FALSE(sigismember(&after, SIGSEGV));
}

TEST_F(QMExceptionServiceTest, HundredGuardedFaultsAllReturnFalseAndLeaveNoTrace) {
    installInfoHandler(SIGSEGV, recognisableHandler);
    installInfoHandler(SIGBUS, recognisableHandler);
    Page page(PROT_NONE);
    ASSERT_NE(page.address(), nullptr);
    int falseResults = 0;
    int kindFour = 0;
    int kindThree = 0;
    for (int i = 0; i < 100; ++i) {
        QMException fault;
        // A fresh hole every time: the page of an earlier one may have been
        // mapped again since (AddressSanitizer maps memory of its own).
        void* address = (i % 2 == 0) ? unmappedAddress() : page.address();
        ASSERT_NE(address, nullptr);
        if (!readGuarded([&] { (void)readInt(address); }, &fault)) ++falseResults;
        if (fault.kind() == 4) ++kindFour;
        if (fault.kind() == 3) ++kindThree;
    }
    EXPECT_EQ(falseResults, 100);
    EXPECT_EQ(kindFour, 50);
    EXPECT_EQ(kindThree, 50);
    EXPECT_EQ(QMExceptionService::s_exceptionCatcher, nullptr);
    EXPECT_TRUE(isInfoHandler(currentAction(SIGSEGV), recognisableHandler));
    EXPECT_TRUE(isInfoHandler(currentAction(SIGBUS), recognisableHandler));
    int source = 8;
    int value = 0;
    EXPECT_TRUE(readGuarded([&] { value = readInt(&source); }));
    EXPECT_EQ(value, 8);
}

TEST_F(QMExceptionServiceTest, InnerGuardedFaultIsCaughtByTheInnerCatcher) {
    void* address = unmappedAddress();
    ASSERT_NE(address, nullptr);
    int source = 11;
    int value = 0;
    QMException innerFault;
    volatile bool innerResult = true;
    QMException outerFault(9);
    bool outerResult = readGuarded(
        [&] {
            innerResult = readGuarded([&] { (void)readInt(address); }, &innerFault);
            value = readInt(&source);
        },
        &outerFault);
    EXPECT_TRUE(outerResult);
    EXPECT_FALSE(innerResult);
    EXPECT_EQ(innerFault.kind(), 4);
    EXPECT_EQ(outerFault.kind(), 0);
    EXPECT_EQ(value, 11);
}

TEST_F(QMExceptionServiceTest, FaultAfterInnerStretchIsCaughtByTheOuterCatcher) {
    Page page(PROT_NONE);
    ASSERT_NE(page.address(), nullptr);
    int source = 2;
    int value = 0;
    QMException outerFault;
    EXPECT_FALSE(readGuarded(
        [&] {
            (void)readGuarded([&] { value = readInt(&source); });
            (void)readInt(page.address());
        },
        &outerFault));
    EXPECT_EQ(outerFault.kind(), 3);
    EXPECT_EQ(value, 2);
}

// ---------------------------------------------------------------- passed on

TEST_F(QMExceptionServiceTest, SentSegvInGuardedStretchReachesPreviousPlainHandler) {
    installPlainHandler(SIGSEGV, countingPlainHandler);
    EXPECT_TRUE(readGuarded([] { raise(SIGSEGV); }));
    EXPECT_EQ(g_plainHandlerCalls, 1);
}

TEST_F(QMExceptionServiceTest, SentBusInGuardedStretchReachesPreviousInfoHandlerWithItsInfo) {
    installInfoHandler(SIGBUS, countingInfoHandler);
    EXPECT_TRUE(readGuarded([] { raise(SIGBUS); }));
    EXPECT_EQ(g_infoHandlerCalls, 1);
    EXPECT_EQ(g_infoHandlerCode, SI_TKILL);
}

TEST_F(QMExceptionServiceTest, SentSegvInGuardedStretchIsDroppedWhenPreviouslyIgnored) {
    installPlainHandler(SIGSEGV, SIG_IGN);
    EXPECT_TRUE(readGuarded([] { raise(SIGSEGV); }));
    EXPECT_EQ(currentAction(SIGSEGV).sa_handler, SIG_IGN);
}

TEST_F(QMExceptionServiceTest, OneShotPreviousHandlerIsCalledOnceAndTheDefaultComesBack) {
    struct sigaction action;
    std::memset(&action, 0, sizeof(action));
    action.sa_sigaction = countingInfoHandler;
    action.sa_flags = SA_SIGINFO | SA_RESETHAND;
    sigemptyset(&action.sa_mask);
    sigaction(SIGSEGV, &action, nullptr);
    QMExceptionCatcher catcher;
    catcher.start();
    raise(SIGSEGV);
    bool serviceStillInstalled = isServiceHandler(currentAction(SIGSEGV));
    bool faultStillCaught = readGuarded([] { (void)readInt(nullptr); }) == false;
    catcher.stop();
    struct sigaction after = currentAction(SIGSEGV);
    EXPECT_EQ(g_infoHandlerCalls, 1);
    EXPECT_TRUE(serviceStillInstalled);
    EXPECT_TRUE(faultStillCaught);
    EXPECT_FALSE(after.sa_flags & SA_SIGINFO);
    EXPECT_EQ(after.sa_handler, SIG_DFL);
}

using QMExceptionServiceDeathTest = QMExceptionServiceTest;

TEST_F(QMExceptionServiceDeathTest, UnguardedFaultGoesToThePreviousHandler) {
    installInfoHandler(SIGSEGV, exitingHandler);
    EXPECT_EXIT((void)readInt(unmappedAddress()), ::testing::ExitedWithCode(42), "");
}

TEST_F(QMExceptionServiceDeathTest, UnguardedFaultAfterGuardedStretchGoesToThePreviousHandler) {
    installInfoHandler(SIGSEGV, exitingHandler);
    EXPECT_EXIT(
        {
            (void)readGuarded([] { (void)readInt(nullptr); });
            (void)readInt(nullptr);
        },
        ::testing::ExitedWithCode(42), "");
}

TEST_F(QMExceptionServiceDeathTest, UnguardedFaultWithDefaultActionDiesBySegv) {
    installPlainHandler(SIGSEGV, SIG_DFL);
    EXPECT_EXIT((void)readInt(unmappedAddress()), ::testing::KilledBySignal(SIGSEGV), "");
}

TEST_F(QMExceptionServiceDeathTest, SentSegvInGuardedStretchGoesToThePreviousHandler) {
    installInfoHandler(SIGSEGV, exitingHandler);
    EXPECT_EXIT((void)readGuarded([] { raise(SIGSEGV); }), ::testing::ExitedWithCode(42), "");
}

TEST_F(QMExceptionServiceDeathTest, SentSegvInGuardedStretchWithDefaultActionDiesBySegv) {
    installPlainHandler(SIGSEGV, SIG_DFL);
    EXPECT_EXIT((void)readGuarded([] { raise(SIGSEGV); }), ::testing::KilledBySignal(SIGSEGV), "");
}

TEST_F(QMExceptionServiceDeathTest, SentBusInGuardedStretchWithDefaultActionDiesByBus) {
    installPlainHandler(SIGBUS, SIG_DFL);
    EXPECT_EXIT((void)readGuarded([] { raise(SIGBUS); }), ::testing::KilledBySignal(SIGBUS), "");
}

TEST_F(QMExceptionServiceDeathTest, IllegalInstructionSignalInGuardedStretchIsNotCaught) {
    installPlainHandler(SIGILL, SIG_DFL);
    EXPECT_EXIT((void)readGuarded([] { raise(SIGILL); }), ::testing::KilledBySignal(SIGILL), "");
}

TEST_F(QMExceptionServiceDeathTest, DivisionByZeroInGuardedStretchIsNotCaught) {
    installPlainHandler(SIGFPE, SIG_DFL);
    EXPECT_EXIT(
        {
            volatile int numerator = 7;
            volatile int zero = 0;
            volatile int result = 0;
            (void)readGuarded([&]() OMBREL_FAULTS_ON_PURPOSE { result = numerator / zero; });
            std::exit(result == 0 ? 3 : 4);
        },
        ::testing::KilledBySignal(SIGFPE), "");
}

TEST_F(QMExceptionServiceDeathTest, AbortInGuardedStretchIsNotCaught) {
    installPlainHandler(SIGABRT, SIG_DFL);
    EXPECT_EXIT((void)readGuarded([] { std::abort(); }), ::testing::KilledBySignal(SIGABRT), "");
}

// The handler entered with no catcher active (as after a stray delivery):
// the fault goes to the disposition kept from before.
TEST_F(QMExceptionServiceDeathTest, HandlerWithoutCatcherCallsThePreviousHandler) {
    EXPECT_EXIT(
        {
            installInfoHandler(SIGSEGV, exitingHandler);
            QMExceptionService::s_oldExceptionHandler[0] = currentAction(SIGSEGV);
            siginfo_t info = makeInfo(SIGSEGV, SEGV_MAPERR);
            QMExceptionService::exceptionHandler(SIGSEGV, &info, nullptr);
            std::exit(1);
        },
        ::testing::ExitedWithCode(42), "");
}

// A processor fault cannot be ignored: without the service the kernel would
// end the process, so the service does too instead of faulting forever.
TEST_F(QMExceptionServiceDeathTest, HandlerWithoutCatcherEndsAnIgnoredFaultByTheDefaultAction) {
    EXPECT_EXIT(
        {
            installPlainHandler(SIGSEGV, SIG_IGN);
            QMExceptionService::s_oldExceptionHandler[0] = currentAction(SIGSEGV);
            siginfo_t info = makeInfo(SIGSEGV, SEGV_MAPERR);
            QMExceptionService::exceptionHandler(SIGSEGV, &info, nullptr);
            std::exit(1);
        },
        ::testing::KilledBySignal(SIGSEGV), "");
}
