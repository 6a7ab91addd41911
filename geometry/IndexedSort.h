#pragma once

#include "geometry/QMVector.h"
#include "support/OmbrelApi.h"
#include "support/QMArray.h"

// Sorting of point indices.
//
// The points themselves are never moved: the result is a permutation of
// 0..n-1 that lists them in lexicographic order (x, then y, then z), where
// two coordinates closer than a tolerance count as equal. Points equal
// within the tolerance on all three axes keep their index order, so the
// result is as deterministic as a stable sort would make it.

// Three-way comparison of two points with a fixed tolerance.
class OMBREL_API QMVector3fComp {
public:
    explicit QMVector3fComp(float eps = 0.0f) : m_eps(eps) {}

    // -1, 0 or 1, as QMVector3f::compareEps(b, m_eps) on a.
    int compare(const QMVector3f& a, const QMVector3f& b) const { return a.compareEps(b, m_eps); }

    float m_eps;
};

// Strict "goes before" on indices into an array of points: i before j when
// values[i] compares below values[j], or equal to it and i < j.
//
// The relation is irreflexive and antisymmetric for every input (compareEps
// negates exactly when its operands are swapped), which keeps the standard
// sort within bounds even when a tolerance makes equality non-transitive.
class OMBREL_API QMIndexedComparator {
public:
    QMIndexedComparator(const QMVector3f* values, QMVector3fComp comparator)
        : m_values(values), m_comparator(comparator) {}

    bool operator()(int i, int j) const {
        const int c = m_comparator.compare(m_values[i], m_values[j]);
        if (c != 0) return c < 0;
        return i < j;
    }

private:
    const QMVector3f* m_values;
    QMVector3fComp m_comparator;
};

// Resizes indices to values.size(), fills it with 0, 1, 2, ... and sorts it
// with std::sort through QMIndexedComparator.
OMBREL_API void indexedSort(QMArray<int>& indices, const QMArray<QMVector3f>& values, QMVector3fComp comparator);

// The same over count points starting at values (count <= 0 gives an empty
// index list).
OMBREL_API void indexedSort(QMArray<int>& indices, int count, const QMVector3f* values, QMVector3fComp comparator);
