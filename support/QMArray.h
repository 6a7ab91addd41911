#pragma once

#include <vector>

// The library's growable array: the standard vector under its own name, with a
// default constructor of its own and no further state. Every mesh array (points,
// face indices, UVs, colour words, mask bytes) and every registry list is one.
template <class T>
class QMArray : public std::vector<T> {
public:
    QMArray() {}
    using std::vector<T>::vector;
};
