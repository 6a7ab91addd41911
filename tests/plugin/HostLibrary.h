#pragma once

#include "plugin/ombrel.h"

#include <string>

// Stands in for the host: loads the built plug-in library with dlopen and
// calls its exports by their plain names, as the host's script does.
class HostLibrary {
public:
    HostLibrary();
    ~HostLibrary();
    HostLibrary(const HostLibrary&) = delete;
    HostLibrary& operator=(const HostLibrary&) = delete;

    // The export with this plain name; fails the test when it is missing.
    OmbrelScriptFunction function(const char* name) const;

    // One script call with a text and a number and no memory blocks.
    double call(const char* name, const char* text = nullptr, double number = 0.0) const;
    double call(const char* name, const std::string& text, double number = 0.0) const {
        return call(name, text.c_str(), number);
    }

private:
    void* m_handle;
};
