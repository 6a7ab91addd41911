#pragma once

#include "plugin/ombrel.h"

#include <string>

// The plug-in library loaded the way the host loads it: dlopen, then every
// script call looked up by its plain name.
class PluginLibrary {
public:
    // Throws std::runtime_error when the library cannot be loaded.
    explicit PluginLibrary(const std::string& path);
    ~PluginLibrary();
    PluginLibrary(const PluginLibrary&) = delete;
    PluginLibrary& operator=(const PluginLibrary&) = delete;

    // The export with this plain name; throws std::runtime_error when missing.
    OmbrelScriptFunction function(const char* name) const;

private:
    void* m_handle;
};
