#include "check/PrintCheck.h"

#include <vector>

namespace ombrel {

namespace {

std::string counted(std::uint64_t count, const char* one, const char* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string joined(const std::vector<std::string>& parts) {
    std::string text;
    for (const std::string& part : parts) text += (text.empty() ? "" : ", ") + part;
    return text;
}

}  // namespace

std::string PrintCheck::verdict() const {
    if (triangles == 0) return "empty: no triangle to print";
    std::string text;
    if (watertight()) {
        text = "watertight and manifold";
    } else {
        std::vector<std::string> why;
        if (openEdges != 0) why.push_back(counted(openEdges, "open edge", "open edges"));
        if (nonManifoldEdges != 0) why.push_back(counted(nonManifoldEdges, "non-manifold edge", "non-manifold edges"));
        if (flippedEdges != 0) why.push_back(counted(flippedEdges, "flipped edge", "flipped edges"));
        text = "not watertight: " + joined(why) + " (" + std::to_string(closedShells) + " of " +
               counted(shells, "shell", "shells") + " closed)";
    }
    std::vector<std::string> also;
    if (floatingShells != 0)
        also.push_back(counted(floatingShells, "shell floats", "shells float") + " above the build plate");
    if (degenerateTriangles != 0)
        also.push_back(counted(degenerateTriangles, "degenerate triangle", "degenerate triangles"));
    return also.empty() ? text : text + "; " + joined(also);
}

}  // namespace ombrel
