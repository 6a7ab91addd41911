#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace ombrel::check {

// Disjoint sets of 0 .. n-1 (pieces joined through what they share), with
// path halving; the smaller index is always a set's representative.
template <class Index>
class UnionFind {
public:
    explicit UnionFind(std::size_t n) : m_parent(n) {
        for (std::size_t i = 0; i < n; ++i) m_parent[i] = static_cast<Index>(i);
    }
    Index find(Index x) {
        while (m_parent[x] != x) {
            m_parent[x] = m_parent[m_parent[x]];
            x = m_parent[x];
        }
        return x;
    }
    void join(Index a, Index b) {
        a = find(a);
        b = find(b);
        if (a != b) m_parent[std::max(a, b)] = std::min(a, b);
    }

private:
    std::vector<Index> m_parent;
};

}  // namespace ombrel::check
