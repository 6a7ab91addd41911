#pragma once

#include <cstddef>
#include <exception>
#include <system_error>
#include <thread>

namespace ombrel::engine {

// Below this many points (or other small items) a second thread costs more
// than it saves.
constexpr std::size_t kItemsWorthASecondThread = 65536;

// Runs `first` here and `second` on another thread at the same time (both
// here, one after the other, when no thread can be had); an exception of
// either reaches the caller once both have ended.
template <class First, class Second>
void runSideBySide(const First& first, const Second& second) {
    std::exception_ptr secondError;
    std::thread other;
    try {
        other = std::thread([&] {
            try {
                second();
            } catch (...) {
                secondError = std::current_exception();
            }
        });
    } catch (const std::system_error&) {
        first();
        second();
        return;
    }
    std::exception_ptr firstError;
    try {
        first();
    } catch (...) {
        firstError = std::current_exception();
    }
    other.join();
    if (firstError) std::rethrow_exception(firstError);
    if (secondError) std::rethrow_exception(secondError);
}

// Runs work(first, end) over [0, count) in two halves side by side, or in
// one piece below kItemsWorthASecondThread.
template <class Work>
void splitInTwo(std::size_t count, const Work& work) {
    if (count < kItemsWorthASecondThread) {
        work(std::size_t(0), count);
        return;
    }
    const std::size_t half = count / 2;
    runSideBySide([&] { work(std::size_t(0), half); }, [&] { work(half, count); });
}

}  // namespace ombrel::engine
