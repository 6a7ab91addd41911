#pragma once

#include "plugin/ombrel.h"

#include <string>

// Calls a script-callable export the way the host's script does: one text,
// one number, no memory blocks.
double callScript(OmbrelScriptFunction function, const char* text = nullptr, double number = 0.0);
inline double callScript(OmbrelScriptFunction function, const std::string& text, double number = 0.0) {
    return callScript(function, text.c_str(), number);
}

// The host version the tool presents itself as.
constexpr double kToolHostVersion = 3.12;
