#pragma once

// Marks a class or function as part of the shared library's public interface.
// Everything else is hidden (the library is built with -fvisibility=hidden).
#define OMBREL_API __attribute__((visibility("default")))
