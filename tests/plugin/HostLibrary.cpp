#include "HostLibrary.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <stdexcept>

HostLibrary::HostLibrary() : m_handle(dlopen(OMBREL_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL)) {
    if (!m_handle) throw std::runtime_error(std::string("dlopen failed: ") + dlerror());
}

HostLibrary::~HostLibrary() { dlclose(m_handle); }

OmbrelScriptFunction HostLibrary::function(const char* name) const {
    void* symbol = dlsym(m_handle, name);
    if (!symbol) throw std::runtime_error(std::string("no export named ") + name);
    return reinterpret_cast<OmbrelScriptFunction>(symbol);
}

double HostLibrary::call(const char* name, const char* text, double number) const {
    return function(name)(text, number, nullptr, 0, nullptr, 0, nullptr);
}
