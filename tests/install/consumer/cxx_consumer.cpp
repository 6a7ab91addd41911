// Uses the library's public C++ classes: the placement of a box at height 10.
#include <geometry/BBox.h>
#include <geometry/QMMatrix4f.h>
#include <plugin/DeclaredVekFiles.h>

#include <cstdio>

int main() {
    BBox box;
    box.add(QMVector3f(-1, 2, -3));
    box.add(QMVector3f(1, 4, 3));
    QMMatrix4f matrix;
    buildMatrix(matrix, 1.0f, box);
    const QMVector3f top = matrix.multVec3f(QMVector3f(1, 4, 3));
    std::printf("(%g, %g, %g) with %zu declared files\n", top.x, top.y, top.z, getDeclaredVekFileNames().size());
    return top.x == 1.0f && top.y == 1.0f && top.z == 3.0f ? 0 : 1;
}
