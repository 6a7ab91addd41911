#include "tools/ombrel/ScriptCalls.h"

double callScript(OmbrelScriptFunction function, const char* text, double number) {
    return function(text, number, nullptr, 0, nullptr, 0, nullptr);
}
