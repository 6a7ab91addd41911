#include "geometry/IndexedSort.h"

#include <algorithm>

void indexedSort(QMArray<int>& indices, const QMArray<QMVector3f>& values, QMVector3fComp comparator) {
    indexedSort(indices, (int)values.size(), values.data(), comparator);
}

void indexedSort(QMArray<int>& indices, int count, const QMVector3f* values, QMVector3fComp comparator) {
    const int n = count > 0 ? count : 0;
    indices.resize((size_t)n);
    for (int i = 0; i < n; ++i) indices[(size_t)i] = i;
    std::sort(indices.begin(), indices.end(), QMIndexedComparator(values, comparator));
}
