#include "support/QMExceptionService.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <cstring>
#include <sys/mman.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

// Catchers belong to their thread: a fault is caught only by a catcher of
// the thread that faulted.

namespace {

constexpr int kPreviousHandlerExit = 42;

// A page no access is allowed to.
volatile const char* protectedPage() {
    void* page = mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return page == MAP_FAILED ? nullptr : static_cast<volatile const char*>(page);
}

void exitFromPreviousHandler(int) { _exit(kPreviousHandlerExit); }

// Runs `body` in a child process with a SIGSEGV handler of its own installed
// first (the "previous handler"); returns the child's exit code.
template <class Body>
int exitCodeOfChild(Body body) {
    const pid_t child = fork();
    if (child == 0) {
        struct sigaction previous;
        std::memset(&previous, 0, sizeof previous);
        previous.sa_handler = exitFromPreviousHandler;
        sigemptyset(&previous.sa_mask);
        sigaction(SIGSEGV, &previous, nullptr);
        _exit(body());
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace

TEST(QMExceptionServiceThreads, AFaultOnAThreadWithoutACatcherGoesToThePreviousHandler) {
    const int code = exitCodeOfChild([] {
        volatile const char* page = protectedPage();
        if (!page) return 2;
        std::atomic<bool> guarding{false}, done{false};
        // Thread A holds a catcher for as long as the test runs.
        std::thread holder([&] {
            QMExceptionCatcher catcher;
            catcher.start();
            guarding = true;
            while (!done) std::this_thread::yield();
            catcher.stop();
        });
        while (!guarding) std::this_thread::yield();
        // This thread has no catcher: its fault is not A's to catch.
        const char value = *page;
        done = true;
        holder.join();
        return value == 0 ? 3 : 4;  // not reached: the previous handler exits
    });
    EXPECT_EQ(code, kPreviousHandlerExit);
}

TEST(QMExceptionServiceThreads, AFaultIsCaughtByTheCatcherOfTheThreadThatFaulted) {
    const int code = exitCodeOfChild([] {
        volatile const char* page = protectedPage();
        if (!page) return 2;
        std::atomic<bool> guarding{false}, done{false};
        QMException holderFault(QMException::kExcludedMemory);
        std::thread holder([&] {
            // A catcher of its own, never faulting: nothing reaches it.
            QMExceptionCatcher catcher;
            catcher.start();
            guarding = true;
            while (!done) std::this_thread::yield();
            holderFault = catcher.getException();
            catcher.stop();
        });
        while (!guarding) std::this_thread::yield();
        QMException fault;
        const bool read = readGuarded([&] { (void)*page; }, &fault);
        done = true;
        holder.join();
        if (read) return 5;
        if (fault.kind() != QMException::kAccessException) return 6;
        if (holderFault.kind() != QMException::kNone) return 7;
        return 0;
    });
    EXPECT_EQ(code, 0);
}

TEST(QMExceptionServiceThreads, ThePreviousHandlerIsBackWhenTheLastThreadStops) {
    const int code = exitCodeOfChild([] {
        volatile const char* page = protectedPage();
        if (!page) return 2;
        std::thread guarded([&] { readGuarded([&] { (void)*page; }); });
        guarded.join();
        QMExceptionCatcher nested;  // started and stopped again on this thread
        nested.start();
        nested.stop();
        (void)*page;  // no catcher anywhere: the previous handler
        return 8;
    });
    EXPECT_EQ(code, kPreviousHandlerExit);
}
