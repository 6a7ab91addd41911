#include "geometry/QMMatrixCode.h"

#include "QMMatrixCodeTestUtil.h"

#include <cmath>

namespace {

// Random symmetric N x N matrix, column-major, elements in [-10, 10].
template <int N>
void randomSymmetric(double* m, TestRng& rng) {
    for (int c = 0; c < N; ++c) {
        for (int r = 0; r <= c; ++r) {
            const double x = rng.uniform(-10.0, 10.0);
            m[N * c + r] = x;
            m[N * r + c] = x;
        }
    }
}

// Largest |V diag(values) V^T - A| over all elements.
template <int N, class T>
double reconstructionError(const T* values, const T* vectors, const double* a) {
    double worst = 0.0;
    for (int r = 0; r < N; ++r) {
        for (int c = 0; c < N; ++c) {
            double acc = 0.0;
            for (int k = 0; k < N; ++k)
                acc += (double)vectors[N * k + r] * (double)values[k] * (double)vectors[N * k + c];
            worst = std::fmax(worst, std::fabs(acc - a[N * c + r]));
        }
    }
    return worst;
}

// Largest |V^T V - I| over all elements.
template <int N, class T>
double orthonormalityError(const T* vectors) {
    double worst = 0.0;
    for (int i = 0; i < N; ++i) {
        for (int j = 0; j < N; ++j) {
            double acc = 0.0;
            for (int r = 0; r < N; ++r) acc += (double)vectors[N * i + r] * (double)vectors[N * j + r];
            worst = std::fmax(worst, std::fabs(acc - (i == j ? 1.0 : 0.0)));
        }
    }
    return worst;
}

// Solves m x = b from factor's output by forward and back substitution.
void luSolve(double x[4], const double lu[16], const int pivot[4], const double b[4]) {
    double y[4];
    for (int r = 0; r < 4; ++r) {
        double acc = b[pivot[r]];
        for (int c = 0; c < r; ++c) acc -= lu[4 * c + r] * y[c];
        y[r] = acc;
    }
    for (int r = 3; r >= 0; --r) {
        double acc = y[r];
        for (int c = r + 1; c < 4; ++c) acc -= lu[4 * c + r] * x[c];
        x[r] = acc / lu[4 * r + r];
    }
}

}  // namespace

// ----------------------------------------------------- 3x3 Jacobi eigenpairs

TEST(QMMatrixCodeEigen, RandomSymmetricMatricesAreReconstructed) {
    TestRng rng(20240611u);
    for (int n = 0; n < 2000; ++n) {
        double a[9];
        randomSymmetric<3>(a, rng);
        double values[3];
        double vectors[9];
        int rotations = -1;
        ASSERT_TRUE(QMMatrixCode::computeEigenPairsSymmetric3x3_Jacobi(values, vectors, rotations, a, true, 50, 1e-12))
            << n;
        EXPECT_GT(rotations, 0) << n;
        EXPECT_LT(reconstructionError<3>(values, vectors, a), 1e-11) << n;
        EXPECT_LT(orthonormalityError<3>(vectors), 1e-14) << n;
    }
}

TEST(QMMatrixCodeEigen, DiagonalMatrixNeedsNoRotation) {
    const double a[9] = {5, 0, 0, 0, -2, 0, 0, 0, 7};
    double values[3];
    double vectors[9];
    int rotations = -1;
    EXPECT_TRUE(QMMatrixCode::computeEigenPairsSymmetric3x3_Jacobi(values, vectors, rotations, a, false, 50, 1e-12));
    EXPECT_EQ(0, rotations);
    EXPECT_EQ(5.0, values[0]);
    EXPECT_EQ(-2.0, values[1]);
    EXPECT_EQ(7.0, values[2]);
    const double identity[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    for (int i = 0; i < 9; ++i) EXPECT_EQ(identity[i], vectors[i]) << i;
}

TEST(QMMatrixCodeEigen, KnownMatrixHasExactEigenvalues) {
    // [[2,1,0],[1,2,0],[0,0,3]]: one rotation by 45 degrees in the (0,1) plane.
    const double a[9] = {2, 1, 0, 1, 2, 0, 0, 0, 3};
    double values[3];
    double vectors[9];
    int rotations = -1;
    EXPECT_TRUE(QMMatrixCode::computeEigenPairsSymmetric3x3_Jacobi(values, vectors, rotations, a, true, 50, 1e-12));
    EXPECT_EQ(1, rotations);
    EXPECT_EQ(1.0, values[0]);
    EXPECT_EQ(3.0, values[1]);
    EXPECT_EQ(3.0, values[2]);
    const double h = std::sqrt(0.5);
    // Eigenvector of 1 is (1, -1, 0)/sqrt 2, of the first 3 is (1, 1, 0)/sqrt 2.
    EXPECT_NEAR(h, vectors[0], 1e-15);
    EXPECT_NEAR(-h, vectors[1], 1e-15);
    EXPECT_EQ(0.0, vectors[2]);
    EXPECT_NEAR(h, vectors[3], 1e-15);
    EXPECT_NEAR(h, vectors[4], 1e-15);
    EXPECT_EQ(0.0, vectors[5]);
    EXPECT_EQ(0.0, vectors[6]);
    EXPECT_EQ(0.0, vectors[7]);
    EXPECT_EQ(1.0, vectors[8]);
}

TEST(QMMatrixCodeEigen, UnsortedKeepsDiagonalPositions) {
    const double a[9] = {2, 1, 0, 1, 2, 0, 0, 0, 3};
    double values[3];
    double vectors[9];
    int rotations = -1;
    QMMatrixCode::computeEigenPairsSymmetric3x3_Jacobi(values, vectors, rotations, a, false, 50, 1e-12);
    // theta = 0, t = 1: d0 = 2 - 1, d1 = 2 + 1.
    EXPECT_EQ(1.0, values[0]);
    EXPECT_EQ(3.0, values[1]);
    EXPECT_EQ(3.0, values[2]);
}

TEST(QMMatrixCodeEigen, SortIsAscendingAndMovesVectors) {
    const double a[9] = {9, 0, 0, 0, -4, 0, 0, 0, 1};
    double values[3];
    double vectors[9];
    int rotations = -1;
    QMMatrixCode::computeEigenPairsSymmetric3x3_Jacobi(values, vectors, rotations, a, true, 50, 1e-12);
    EXPECT_EQ(-4.0, values[0]);
    EXPECT_EQ(1.0, values[1]);
    EXPECT_EQ(9.0, values[2]);
    // Column 0 is e1, column 1 is e2, column 2 is e0.
    const double expected[9] = {0, 1, 0, 0, 0, 1, 1, 0, 0};
    for (int i = 0; i < 9; ++i) EXPECT_EQ(expected[i], vectors[i]) << i;
}

TEST(QMMatrixCodeEigen, RandomSortedValuesAreAscending) {
    TestRng rng(77u);
    for (int n = 0; n < 500; ++n) {
        double a[9];
        randomSymmetric<3>(a, rng);
        double values[3];
        double vectors[9];
        int rotations = -1;
        QMMatrixCode::computeEigenPairsSymmetric3x3_Jacobi(values, vectors, rotations, a, true, 50, 1e-12);
        EXPECT_LE(values[0], values[1]) << n;
        EXPECT_LE(values[1], values[2]) << n;
        EXPECT_LT(reconstructionError<3>(values, vectors, a), 1e-11) << n;
    }
}

TEST(QMMatrixCodeEigen, OneSweepRotatesEachElementAtMostOnce) {
    // All off-diagonal elements are well above 0.2 S / 9, so sweep 1 rotates
    // each of the three once and the matrix is not yet diagonal.
    const double a[9] = {4, 1, 2, 1, 3, 1.5, 2, 1.5, 1};
    double values[3];
    double vectors[9];
    int rotations = -1;
    EXPECT_FALSE(QMMatrixCode::computeEigenPairsSymmetric3x3_Jacobi(values, vectors, rotations, a, false, 1, 1e-12));
    EXPECT_EQ(3, rotations);
    // Still an exact similarity: the values are not yet the eigenvalues but
    // the trace is kept.
    EXPECT_NEAR(8.0, values[0] + values[1] + values[2], 1e-14);
    int more = -1;
    EXPECT_TRUE(QMMatrixCode::computeEigenPairsSymmetric3x3_Jacobi(values, vectors, more, a, false, 50, 1e-12));
    EXPECT_GT(more, 3);
}

TEST(QMMatrixCodeEigen, ZeroSweepsLeaveTheDiagonal) {
    const double a[9] = {4, 1, 2, 1, 3, 1.5, 2, 1.5, 1};
    double values[3];
    double vectors[9];
    int rotations = -1;
    EXPECT_FALSE(QMMatrixCode::computeEigenPairsSymmetric3x3_Jacobi(values, vectors, rotations, a, false, 0, 1e-12));
    EXPECT_EQ(0, rotations);
    EXPECT_EQ(4.0, values[0]);
    EXPECT_EQ(3.0, values[1]);
    EXPECT_EQ(1.0, values[2]);
}

TEST(QMMatrixCodeEigen, LargeToleranceExitsBeforeAnyRotation) {
    // S = 4.5 is below the tolerance 5: converged at the start of sweep 1.
    const double a[9] = {4, 1, 2, 1, 3, 1.5, 2, 1.5, 1};
    double values[3];
    double vectors[9];
    int rotations = -1;
    EXPECT_TRUE(QMMatrixCode::computeEigenPairsSymmetric3x3_Jacobi(values, vectors, rotations, a, false, 50, 5.0));
    EXPECT_EQ(0, rotations);
    EXPECT_EQ(4.0, values[0]);
    EXPECT_EQ(3.0, values[1]);
    EXPECT_EQ(1.0, values[2]);
    const double identity[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    for (int i = 0; i < 9; ++i) EXPECT_EQ(identity[i], vectors[i]) << i;
}

TEST(QMMatrixCodeEigen, LooserToleranceNeedsFewerRotations) {
    const double a[9] = {4, 1, 2, 1, 3, 1.5, 2, 1.5, 1};
    double values[3];
    double vectors[9];
    int loose = -1;
    int tight = -1;
    EXPECT_TRUE(QMMatrixCode::computeEigenPairsSymmetric3x3_Jacobi(values, vectors, loose, a, false, 50, 1e-1));
    EXPECT_TRUE(QMMatrixCode::computeEigenPairsSymmetric3x3_Jacobi(values, vectors, tight, a, false, 50, 1e-14));
    EXPECT_LT(loose, tight);
}

TEST(QMMatrixCodeEigen, ReadsOnlyTheUpperTriangle) {
    const double full[9] = {2, 1, 0, 1, 2, 0, 0, 0, 3};
    const double upper[9] = {2, 99, -7, 1, 2, 42, 0, 0, 3};
    double v1[3], v2[3], w1[9], w2[9];
    int r1 = -1, r2 = -1;
    QMMatrixCode::computeEigenPairsSymmetric3x3_Jacobi(v1, w1, r1, full, true, 50, 1e-12);
    QMMatrixCode::computeEigenPairsSymmetric3x3_Jacobi(v2, w2, r2, upper, true, 50, 1e-12);
    EXPECT_EQ(r1, r2);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(v1[i], v2[i]) << i;
    for (int i = 0; i < 9; ++i) EXPECT_EQ(w1[i], w2[i]) << i;
}

TEST(QMMatrixCodeEigen, LooseToleranceResultStaysAccurateToTolerance) {
    // Elements far below the tolerance take the first-order angle or are
    // zeroed unrotated; the result stays finite and within the tolerance.
    const double a[9] = {1, 1e-9, 0.5, 1e-9, 1, 0.25, 0.5, 0.25, 1};
    double values[3];
    double vectors[9];
    int rotations = -1;
    QMMatrixCode::computeEigenPairsSymmetric3x3_Jacobi(values, vectors, rotations, a, true, 50, 1e-6);
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(std::isfinite(values[i])) << i;
    for (int i = 0; i < 9; ++i) EXPECT_TRUE(std::isfinite(vectors[i])) << i;
    EXPECT_LT(reconstructionError<3>(values, vectors, a), 1e-6);
}

// ------------------------------------------------------- default 3x3 solvers

TEST(QMMatrixCodeEigen, EigenValuesOfKnownMatrix) {
    const double a[9] = {2, 1, 0, 1, 2, 0, 0, 0, 3};
    double values[3];
    QMMatrixCode::computeEigenValuesSymmetric3x3(values, a);
    EXPECT_EQ(1.0, values[0]);
    EXPECT_EQ(3.0, values[1]);
    EXPECT_EQ(3.0, values[2]);
}

TEST(QMMatrixCodeEigen, EigenValuesAgreeWithJacobiPairs) {
    TestRng rng(4242u);
    for (int n = 0; n < 1000; ++n) {
        double a[9];
        randomSymmetric<3>(a, rng);
        double values[3];
        QMMatrixCode::computeEigenValuesSymmetric3x3(values, a);
        double pairs[3];
        double vectors[9];
        int rotations = -1;
        QMMatrixCode::computeEigenPairsSymmetric3x3_Jacobi(pairs, vectors, rotations, a, true, 50, 1e-12);
        for (int i = 0; i < 3; ++i) EXPECT_NEAR(pairs[i], values[i], 1e-12) << n << " " << i;
        EXPECT_LE(values[0], values[1]) << n;
        EXPECT_LE(values[1], values[2]) << n;
    }
}

TEST(QMMatrixCodeEigen, Jacobi3dReconstructsAndCountsRotations) {
    TestRng rng(9u);
    for (int n = 0; n < 1000; ++n) {
        double a[9];
        randomSymmetric<3>(a, rng);
        double values[3];
        double vectors[9];
        const int rotations = QMMatrixCode::jacobi3d_(values, vectors, a);
        EXPECT_GT(rotations, 0) << n;
        EXPECT_LT(reconstructionError<3>(values, vectors, a), 1e-12) << n;
        EXPECT_LT(orthonormalityError<3>(vectors), 1e-14) << n;
    }
}

TEST(QMMatrixCodeEigen, Jacobi3dDoesNotSort) {
    const double a[9] = {9, 0, 0, 0, -4, 0, 0, 0, 1};
    double values[3];
    double vectors[9];
    EXPECT_EQ(0, QMMatrixCode::jacobi3d_(values, vectors, a));
    EXPECT_EQ(9.0, values[0]);
    EXPECT_EQ(-4.0, values[1]);
    EXPECT_EQ(1.0, values[2]);
}

// ---------------------------------------------------------------- 4x4 Jacobi

TEST(QMMatrixCodeEigen, Jacobi4x4fReconstructsRandomSymmetric) {
    TestRng rng(31337u);
    for (int n = 0; n < 1000; ++n) {
        float m[16];
        double a[16];
        for (int c = 0; c < 4; ++c) {
            for (int r = 0; r <= c; ++r) {
                const float x = (float)rng.uniform(-10.0, 10.0);
                m[4 * c + r] = m[4 * r + c] = x;
            }
        }
        for (int i = 0; i < 16; ++i) a[i] = m[i];
        float values[4];
        float vectors[16];
        EXPECT_GT(QMMatrixCode::jacobi4x4f(values, vectors, m), 0) << n;
        EXPECT_LT(reconstructionError<4>(values, vectors, a), 2e-5) << n;
        EXPECT_LT(orthonormalityError<4>(vectors), 1e-6) << n;
        for (int k = 0; k < 3; ++k) EXPECT_LE(values[k], values[k + 1]) << n;
    }
}

TEST(QMMatrixCodeEigen, Jacobi4x4fDiagonal) {
    const float m[16] = {3, 0, 0, 0, 0, -1, 0, 0, 0, 0, 2, 0, 0, 0, 0, 0.5f};
    float values[4];
    float vectors[16];
    EXPECT_EQ(0, QMMatrixCode::jacobi4x4f(values, vectors, m));
    EXPECT_EQ(-1.0f, values[0]);
    EXPECT_EQ(0.5f, values[1]);
    EXPECT_EQ(2.0f, values[2]);
    EXPECT_EQ(3.0f, values[3]);
    const float expected[16] = {0, 1, 0, 0, 0, 0, 0, 1, 0, 0, 1, 0, 1, 0, 0, 0};
    for (int i = 0; i < 16; ++i) EXPECT_EQ(expected[i], vectors[i]) << i;
}

// -------------------------------------------------------------------- factor

TEST(QMMatrixCodeEigen, FactorSolvesRandomSystems) {
    TestRng rng(555u);
    for (int n = 0; n < 1000; ++n) {
        double m[16];
        for (int i = 0; i < 16; ++i) m[i] = rng.uniform(-10.0, 10.0);
        double x[4];
        double b[4];
        for (int i = 0; i < 4; ++i) x[i] = rng.uniform(-5.0, 5.0);
        for (int r = 0; r < 4; ++r) {
            b[r] = 0.0;
            for (int c = 0; c < 4; ++c) b[r] += m[4 * c + r] * x[c];
        }
        double lu[16];
        int pivot[4];
        ASSERT_TRUE(QMMatrixCode::factor(lu, pivot, m)) << n;
        double solved[4];
        luSolve(solved, lu, pivot, b);
        // Residual test: independent of the conditioning of m.
        for (int r = 0; r < 4; ++r) {
            double acc = 0.0;
            for (int c = 0; c < 4; ++c) acc += m[4 * c + r] * solved[c];
            EXPECT_NEAR(b[r], acc, 1e-10) << n << " " << r;
        }
    }
}

TEST(QMMatrixCodeEigen, FactorPivotsOnLargestElement) {
    // Column 0 is (1, 4, -8, 2): row 2 becomes the first pivot row.
    const double m[16] = {1, 4, -8, 2, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    double lu[16];
    int pivot[4];
    ASSERT_TRUE(QMMatrixCode::factor(lu, pivot, m));
    EXPECT_EQ(2, pivot[0]);
    EXPECT_EQ(-8.0, lu[0]);
    EXPECT_EQ(-0.5, lu[1]);  // row 4 / -8 (row 0 of m moved to row 2)
}

TEST(QMMatrixCodeEigen, FactorReconstructsPermutedMatrix) {
    TestRng rng(8080u);
    for (int n = 0; n < 500; ++n) {
        double m[16];
        for (int i = 0; i < 16; ++i) m[i] = rng.uniform(-10.0, 10.0);
        double lu[16];
        int pivot[4];
        ASSERT_TRUE(QMMatrixCode::factor(lu, pivot, m)) << n;
        for (int r = 0; r < 4; ++r) {
            for (int c = 0; c < 4; ++c) {
                double acc = 0.0;
                for (int k = 0; k <= r && k <= c; ++k) acc += (k == r ? 1.0 : lu[4 * k + r]) * lu[4 * c + k];
                EXPECT_NEAR(m[4 * c + pivot[r]], acc, 1e-12) << n;
            }
        }
    }
}

TEST(QMMatrixCodeEigen, FactorFailsOnSingularMatrix) {
    // Column 2 equals column 0 + column 1: the last pivot is exactly 0.
    const double m[16] = {1, 2, 3, 4, 0, 1, 0, 2, 1, 3, 3, 6, 0, 0, 1, 1};
    double lu[16];
    int pivot[4];
    EXPECT_FALSE(QMMatrixCode::factor(lu, pivot, m));
    const float z[16] = {1, 2, 3, 4, 0, 0, 0, 0, 5, 6, 7, 8, 0, 0, 0, 1};
    float luf[16];
    EXPECT_FALSE(QMMatrixCode::factor(luf, pivot, z));
}

TEST(QMMatrixCodeEigen, FactorFloatIdentity) {
    const float m[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    float lu[16];
    int pivot[4];
    ASSERT_TRUE(QMMatrixCode::factor(lu, pivot, m));
    for (int i = 0; i < 16; ++i) EXPECT_EQ(m[i], lu[i]) << i;
    for (int i = 0; i < 4; ++i) EXPECT_EQ(i, pivot[i]);
}

// Both builds must produce the same bits: a checksum of many results.
TEST(QMMatrixCodeEigen, ResultsAreBitReproducible) {
    TestRng rng(1u);
    double sum = 0.0;
    for (int n = 0; n < 200; ++n) {
        double a[9];
        randomSymmetric<3>(a, rng);
        double values[3];
        double vectors[9];
        QMMatrixCode::jacobi3d_(values, vectors, a);
        for (int i = 0; i < 3; ++i) sum += values[i] * (double)(i + 1);
        for (int i = 0; i < 9; ++i) sum += vectors[i] * (double)(i + 7);
    }
    EXPECT_EQ(0x1.0ef51ecfee45ap+12, sum) << std::hexfloat << sum;
}
