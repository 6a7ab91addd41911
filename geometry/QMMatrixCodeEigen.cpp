#include "geometry/QMMatrixCode.h"

#include <cmath>
#include <limits>

namespace {

// Cyclic Jacobi iteration on a symmetric N x N matrix held as a[row][col]
// (only the upper triangle is read and updated). The diagonal updates of a
// sweep are accumulated apart and folded in at the end of the sweep, so that
// h = d_q - d_p uses the running diagonal while the stored one stays exact.
template <int N>
struct Jacobi {
    double a[N][N];
    double v[N][N];  // v[row][k]: eigenvector k in column k
    double d[N];
    int rotations = 0;

    explicit Jacobi(const double* m) {
        for (int c = 0; c < N; ++c) {
            for (int r = 0; r < N; ++r) {
                a[r][c] = m[N * c + r];
                v[r][c] = (r == c) ? 1.0 : 0.0;
            }
            d[c] = m[N * c + c];
        }
    }

    double offDiagonalSum() const {
        double s = 0.0;
        for (int p = 0; p < N - 1; ++p)
            for (int q = p + 1; q < N; ++q) s += std::fabs(a[p][q]);
        return s;
    }

    static void rotate(double& x, double& y, double s, double tau) {
        const double g = x;
        const double h = y;
        x = g - s * (h + g * tau);
        y = h + s * (g - h * tau);
    }

    void rotatePair(int p, int q, double tolerance, double z[N]) {
        const double apq = a[p][q];
        const double h = d[q] - d[p];
        double t;
        // Small element against the tolerance: first-order angle a_pq / h.
        // An exactly zero h would divide by zero, so it takes the exact
        // formula instead (theta = 0: a rotation by 45 degrees).
        if (100.0 * std::fabs(apq) < tolerance && h != 0.0) {
            t = apq / h;
        } else {
            const double theta = 0.5 * h / apq;
            t = 1.0 / (std::fabs(theta) + std::sqrt(theta * theta + 1.0));
            if (theta < 0.0) t = -t;
        }
        const double c = 1.0 / std::sqrt(t * t + 1.0);
        const double s = t * c;
        const double tau = s / (1.0 + c);
        const double shift = t * apq;
        z[p] -= shift;
        z[q] += shift;
        d[p] -= shift;
        d[q] += shift;
        a[p][q] = 0.0;
        for (int j = 0; j < p; ++j) rotate(a[j][p], a[j][q], s, tau);
        for (int j = p + 1; j < q; ++j) rotate(a[p][j], a[j][q], s, tau);
        for (int j = q + 1; j < N; ++j) rotate(a[p][j], a[q][j], s, tau);
        for (int j = 0; j < N; ++j) rotate(v[j][p], v[j][q], s, tau);
        ++rotations;
    }

    // Returns true when the off-diagonal sum fell below tolerance.
    bool run(int maxSweeps, double tolerance) {
        double b[N];
        double z[N];
        for (int i = 0; i < N; ++i) {
            b[i] = d[i];
            z[i] = 0.0;
        }
        for (int sweep = 1; sweep <= maxSweeps; ++sweep) {
            const double sum = offDiagonalSum();
            if (sum < tolerance) return true;
            const double threshold = (sweep <= 3) ? 0.2 * sum / (N * N) : 0.0;
            for (int p = 0; p < N - 1; ++p) {
                for (int q = p + 1; q < N; ++q) {
                    const double g = 100.0 * std::fabs(a[p][q]);
                    if (sweep >= 5 && g < tolerance) {
                        a[p][q] = 0.0;
                    } else if (std::fabs(a[p][q]) > threshold) {
                        rotatePair(p, q, tolerance, z);
                    }
                }
            }
            for (int i = 0; i < N; ++i) {
                b[i] += z[i];
                d[i] = b[i];
                z[i] = 0.0;
            }
        }
        return offDiagonalSum() < tolerance;
    }

    // Ascending insertion sort of the eigenvalues; strict comparison keeps
    // equal values in their order. Vector columns move with their values.
    void sortAscending() {
        for (int i = 1; i < N; ++i) {
            for (int k = i; k > 0 && d[k] < d[k - 1]; --k) {
                const double tmp = d[k];
                d[k] = d[k - 1];
                d[k - 1] = tmp;
                for (int r = 0; r < N; ++r) {
                    const double x = v[r][k];
                    v[r][k] = v[r][k - 1];
                    v[r][k - 1] = x;
                }
            }
        }
    }

    template <class T>
    void store(T* values, T* vectors) const {
        for (int k = 0; k < N; ++k) {
            values[k] = (T)d[k];
            for (int r = 0; r < N; ++r) vectors[N * k + r] = (T)v[r][k];
        }
    }
};

// Iterate until the off-diagonal part is exactly zero: S below the smallest
// denormal means S == 0, and no non-zero element takes the small-element
// branches.
constexpr int kDefaultSweeps = 50;
constexpr double kExactTolerance = std::numeric_limits<double>::denorm_min();

// Doolittle LU with partial pivoting in double on rows a[r][c].
bool luFactor(double out[16], int pivot[4], const double m[16]) {
    double rows[4][4];
    for (int r = 0; r < 4; ++r) {
        for (int c = 0; c < 4; ++c) rows[r][c] = m[4 * c + r];
        pivot[r] = r;
    }
    for (int k = 0; k < 4; ++k) {
        int best = k;
        for (int r = k + 1; r < 4; ++r)
            if (std::fabs(rows[r][k]) > std::fabs(rows[best][k])) best = r;
        if (rows[best][k] == 0.0) return false;
        if (best != k) {
            for (int c = 0; c < 4; ++c) {
                const double tmp = rows[k][c];
                rows[k][c] = rows[best][c];
                rows[best][c] = tmp;
            }
            const int p = pivot[k];
            pivot[k] = pivot[best];
            pivot[best] = p;
        }
        for (int r = k + 1; r < 4; ++r) {
            const double f = rows[r][k] / rows[k][k];
            rows[r][k] = f;
            for (int c = k + 1; c < 4; ++c) rows[r][c] -= f * rows[k][c];
        }
    }
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) out[4 * c + r] = rows[r][c];
    return true;
}

}  // namespace

bool QMMatrixCode::factor(float lu[16], int pivot[4], const float m[16]) {
    double in[16];
    double out[16];
    for (int i = 0; i < 16; ++i) in[i] = m[i];
    if (!luFactor(out, pivot, in)) return false;
    for (int i = 0; i < 16; ++i) lu[i] = (float)out[i];
    return true;
}

bool QMMatrixCode::factor(double lu[16], int pivot[4], const double m[16]) { return luFactor(lu, pivot, m); }

int QMMatrixCode::jacobi4x4f(float values[4], float vectors[16], const float matrix[16]) {
    double in[16];
    for (int i = 0; i < 16; ++i) in[i] = matrix[i];
    Jacobi<4> j(in);
    j.run(kDefaultSweeps, kExactTolerance);
    j.sortAscending();
    j.store(values, vectors);
    return j.rotations;
}

int QMMatrixCode::jacobi3d_(double values[3], double vectors[9], const double matrix[9]) {
    int rotations = 0;
    computeEigenPairsSymmetric3x3_Jacobi(values, vectors, rotations, matrix, false, kDefaultSweeps, kExactTolerance);
    return rotations;
}

void QMMatrixCode::computeEigenValuesSymmetric3x3(double values[3], const double matrix[9]) {
    double vectors[9];
    int rotations = 0;
    computeEigenPairsSymmetric3x3_Jacobi(values, vectors, rotations, matrix, true, kDefaultSweeps, kExactTolerance);
}

bool QMMatrixCode::computeEigenPairsSymmetric3x3_Jacobi(double values[3], double vectors[9], int& rotations,
                                                        const double matrix[9], bool sort, int maxSweeps,
                                                        double tolerance) {
    Jacobi<3> j(matrix);
    const bool converged = j.run(maxSweeps, tolerance);
    if (sort) j.sortAscending();
    j.store(values, vectors);
    rotations = j.rotations;
    return converged;
}
