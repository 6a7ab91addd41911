#pragma once

// Runs the body of a script-callable export so that no C++ exception (an
// allocation failure included) ever reaches the host: an escaping exception
// yields `onException`, the value the export reports in its failure case.
template <class Body>
double runScriptCall(double onException, Body body) noexcept {
    try {
        return body();
    } catch (...) {
        return onException;
    }
}
