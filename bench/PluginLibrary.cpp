#include "bench/PluginLibrary.h"

#include <dlfcn.h>
#include <stdexcept>

PluginLibrary::PluginLibrary(const std::string& path) : m_handle(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (!m_handle) throw std::runtime_error(std::string("cannot load the library: ") + dlerror());
}

PluginLibrary::~PluginLibrary() { dlclose(m_handle); }

OmbrelScriptFunction PluginLibrary::function(const char* name) const {
    void* symbol = dlsym(m_handle, name);
    if (!symbol) throw std::runtime_error(std::string("the library has no export named ") + name);
    return reinterpret_cast<OmbrelScriptFunction>(symbol);
}
