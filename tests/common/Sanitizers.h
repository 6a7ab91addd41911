#pragma once

// What the tests need to know about a sanitizer build (scripts/build.sh asan).

// True when AddressSanitizer is compiled in: it reserves terabytes of address
// space for its shadow memory, so a test that limits the address space
// (RLIMIT_AS) cannot run.
#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool kAddressSanitizer = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
inline constexpr bool kAddressSanitizer = true;
#else
inline constexpr bool kAddressSanitizer = false;
#endif
#else
inline constexpr bool kAddressSanitizer = false;
#endif

// On a function (or lambda) that faults on purpose, by a null access or a
// division by zero, to test the fault catcher: UndefinedBehaviorSanitizer
// leaves it alone, so the hardware fault happens as in a plain build.
#define OMBREL_FAULTS_ON_PURPOSE __attribute__((no_sanitize("undefined")))
