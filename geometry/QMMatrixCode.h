#pragma once

#include "support/OmbrelApi.h"

// Raw 4x4 matrix kernels.
//
// Static functions over plain arrays so that the matrix classes stay thin
// wrappers and the same code serves any storage. Conventions, shared by every
// kernel of the family:
//   - a 4x4 matrix is 16 values in column-major order: element (row r,
//     column c) is m[4 * c + r]; the translation is m[12], m[13], m[14] and
//     the projective row m[3], m[7], m[11], m[15];
//   - vectors are column vectors, multiplied on the right of the matrix;
//   - results are written last, so a result array may be an input array;
//   - the float kernels that sum products form each product in double from
//     the float operands, add left to right in double and round once to
//     float at the end.
//
// Most kernels exist for float and for double arrays with the same
// algorithm; the double forms compute in double throughout. Quaternions are
// four values w, x, y, z (scalar first); 3x3 matrices are 9 values in the
// same column-major order. Angles are in radians. Euler angles (ax, ay, az)
// always mean M = Rz(az) Ry(ay) Rx(ax): rotate about X first, then Y, then Z.
class OMBREL_API QMMatrixCode {
public:
    // ------------------------------------------------------------ construction

    // Writes the identity into 16 floats.
    static void setIdentity(float* m);
    static void setIdentity(double* m);
    // Identity with translation t.
    static void setTranslate(float* m, const float t[3]);
    static void setTranslate(double* m, const double t[3]);
    // Diagonal scale matrix diag(s0, s1, s2, 1).
    static void setScale(float* m, const float s[3]);
    static void setScale(double* m, const double s[3]);
    // Rotation from Euler angles (see the class comment for the order).
    static void setRotate(float* m, float ax, float ay, float az);
    static void setRotate(double* m, double ax, double ay, double az);
    // Rotation by angle about axis (taken as unit), right-handed.
    static void setRotate(float* m, const float axis[3], float angle);
    static void setRotate(double* m, const double axis[3], double angle);
    // Perspective projection looking down -Z: vertical field of view fovY,
    // width / height aspect, near and far clip distances (the usual OpenGL
    // frustum, clip-space z in [-1, 1]).
    static void setProjection(float* m, float fovY, float aspect, float zNear, float zFar);
    static void setProjection(double* m, double fovY, double aspect, double zNear, double zFar);
    // euler = (ax, ay, az); same matrix as setRotate(m, ax, ay, az).
    static void eulerToMatrix(float* m, const float euler[3]);
    static void eulerToMatrix(double* m, const double euler[3]);
    // Rotation of the quaternion q scaled by 2 / |q|^2, so any non-zero
    // quaternion gives its rotation; a zero quaternion gives the identity.
    static void quaternionToMatrix(float* m, const float q[4]);
    static void quaternionToMatrix(double* m, const double q[4]);

    // -------------------------------------------------------------- arithmetic

    static void addMatrices(float* r, const float* a, const float* b);
    static void addMatrices(double* r, const double* a, const double* b);
    static void subMatrices(float* r, const float* a, const float* b);
    static void subMatrices(double* r, const double* a, const double* b);
    // r = a b (full 4x4 product).
    static void multMatrices(float* r, const float* a, const float* b);
    static void multMatrices(double* r, const double* a, const double* b);
    static void multMatrixScalar(float* r, const float* a, float s);
    static void multMatrixScalar(double* r, const double* a, double s);
    // r = col row^T, the 4x4 outer product.
    static void multColRow(float* r, const float col[4], const float row[4]);
    static void multColRow(double* r, const double col[4], const double row[4]);
    // r = a b for two affine matrices: the projective rows are taken as
    // (0, 0, 0, 1) and r's is written as such.
    static void multAffineMatrices(float* r, const float* a, const float* b);
    static void multAffineMatrices(double* r, const double* a, const double* b);
    static void neg(float* r, const float* a);
    static void abs(float* r, const float* a);
    static void transpose(float* r, const float* a);
    static void transpose(double* r, const double* a);
    // Transposes the upper-left 3x3 block; the translation column and the
    // projective row are copied unchanged.
    static void transposeAffine(float* r, const float* a);
    static void transposeAffine(double* r, const double* a);

    // -------------------------------------------------- left and right products

    // Adds t to the translation column (m[12 + r] += t[r] in float). For an
    // affine matrix this is M = T(t) M.
    static void multLeftByTranslate(float* m, const float t[3]);
    static void multLeftByTranslate(double* m, const double t[3]);
    // Adds the upper-left 3x3 block times t to the translation column: for
    // r = 0..2, acc = m[r] t0 + m[4+r] t1 + m[8+r] t2 summed in double from
    // left to right and rounded once to float, then m[12 + r] += acc in
    // float. For an affine matrix this is M = M T(t).
    static void multRightByTranslate(float* m, const float t[3]);
    static void multRightByTranslate(double* m, const double t[3]);
    // M = S(s) M: row r (elements r, 4+r, 8+r, 12+r) multiplied by s[r] in
    // float, for r = 0..2.
    static void multLeftByScale(float* m, const float s[3]);
    static void multLeftByScale(double* m, const double s[3]);
    // M = M S(s): column c (elements 4c..4c+3) multiplied by s[c], c = 0..2.
    static void multRightByScale(float* m, const float s[3]);
    static void multRightByScale(double* m, const double s[3]);
    // M = R M and M = M R with R the rotation by angle about axis (unit).
    static void multLeftByRotate(float* m, const float axis[3], float angle);
    static void multLeftByRotate(double* m, const double axis[3], double angle);
    static void multRightByRotate(float* m, const float axis[3], float angle);
    static void multRightByRotate(double* m, const double axis[3], double angle);
    // The same about a coordinate axis.
    static void multLeftByRotateX(float* m, float angle);
    static void multLeftByRotateX(double* m, double angle);
    static void multLeftByRotateY(float* m, float angle);
    static void multLeftByRotateY(double* m, double angle);
    static void multLeftByRotateZ(float* m, float angle);
    static void multLeftByRotateZ(double* m, double angle);
    static void multRightByRotateX(float* m, float angle);
    static void multRightByRotateX(double* m, double angle);
    static void multRightByRotateY(float* m, float angle);
    static void multRightByRotateY(double* m, double angle);
    static void multRightByRotateZ(float* m, float angle);
    static void multRightByRotateZ(double* m, double angle);

    // --------------------------------------------------------- vector products

    // Full projective product of the point v (w = 1). With
    // acc_r = m[r] v0 + m[4+r] v1 + m[8+r] v2 + m[12+r] for r = 0..3 in
    // double, the result is acc_r / acc_3 rounded to float, or (0, 0, 0) when
    // acc_3 is exactly 0.
    static void multMatrixVec3f(float result[3], const float* m, const float v[3]);
    static void multMatrixVec3d(double result[3], const double* m, const double v[3]);
    // Full 4-component product: result_r = m[r] v0 + m[4+r] v1 + m[8+r] v2
    // + m[12+r] v3 in double, rounded once, for r = 0..3.
    static void multMatrixVec4f(float result[4], const float* m, const float v[4]);
    static void multMatrixVec4d(double result[4], const double* m, const double v[4]);
    // Affine product of the point v, ignoring the projective row:
    // result_r = m[r] v0 + m[4+r] v1 + m[8+r] v2 + m[12+r] in double, rounded
    // once, for r = 0..2.
    static void multAffineMatrixVec3f(float result[3], const float* m, const float v[3]);
    static void multAffineMatrixVec3d(double result[3], const double* m, const double v[3]);
    // Affine product of the direction v: as multAffineMatrixVec3f without the
    // translation term.
    static void multAffineMatrixVec3fAsDir(float result[3], const float* m, const float v[3]);
    static void multAffineMatrixVec3dAsDir(double result[3], const double* m, const double v[3]);

    // ------------------------------------------------- 3x3 operations and copies

    static void multMatrices3x3(float* r, const float* a, const float* b);
    static void multMatrices3x3(double* r, const double* a, const double* b);
    static void transposeMatrix3x3(float* r, const float* a);
    static void transposeMatrix3x3(double* r, const double* a);
    // r = col row^T, the 3x3 outer product.
    static void multColRow3x3(float* r, const float col[3], const float row[3]);
    static void multColRow3x3(double* r, const double col[3], const double row[3]);
    static void copyMat3dToMat3f(float* r, const double* a);
    static void copyMat3fToMat3d(double* r, const float* a);
    // 3x3 into the upper-left block of a 4x4 whose other elements become
    // those of the identity.
    static void copyMat3fToMat4f(float* r, const float* a);
    static void copyMat3dToMat4f(float* r, const double* a);
    static void copyMat3dToMat4d(double* r, const double* a);
    // Upper-left 3x3 block of a 4x4.
    static void copyMat4fToMat3d(double* r, const float* a);
    static void copyMat4fToMat3f(float* r, const float* a);
    static void copyMat4dToMat3d(double* r, const double* a);
    static void copyMat4fToMat4d(double* r, const float* a);
    static void copyMat4dToMat4f(float* r, const double* a);

    // ---------------------------------------------------------------- inverses

    // General inverse by Gauss-Jordan elimination in double with partial
    // pivoting (largest absolute value). False, with r unspecified, only when
    // a pivot is exactly 0.
    static bool inverseMatrix(float* r, const float* m);
    static bool inverseMatrix(double* r, const double* m);
    // Inverse of the upper-left 3x3 block by cofactors, into r's block; the
    // rest of r becomes the identity's. False when the determinant is 0.
    static bool inverse3(float* r, const float* m);
    static bool inverse3(double* r, const double* m);
    // Inverse of an affine matrix: the block's inverse A' (as inverse3) and
    // the translation -A' t. False when the block is singular.
    static bool inverseAffine(float* r, const float* m);
    static bool inverseAffine(double* r, const double* m);
    // Inverse of a pure rotation: the transposed block, no translation.
    static void inverseRotate(float* r, const float* m);
    static void inverseRotate(double* r, const double* m);
    // Inverse of a rotation with translation t: block R^T, translation -R^T t.
    static void inverseRotateAndTr(float* r, const float* m);
    static void inverseRotateAndTr(double* r, const double* m);
    // Inverse of a diagonal scale: the reciprocals of m[0], m[5], m[10].
    static void inverseScale(float* r, const float* m);
    static void inverseScale(double* r, const double* m);
    // Inverse of a pure translation: the identity with translation -t.
    static void inverseTranslate(float* r, const float* m);
    static void inverseTranslate(double* r, const double* m);
    // 3x3 inverse by cofactors; false when the determinant is 0.
    static bool inverseMatrix3x3(double* r, const double* m);

    // ------------------------------------------------ determinant, decomposition

    // Determinant by cofactor expansion in double.
    static float det4(const float* m);
    static double det4(const double* m);

    // LU factorisation with partial pivoting (largest absolute value in the
    // column), computed in double: P m = L U with L unit lower triangular
    // (below the diagonal of lu) and U upper (on and above it), lu
    // column-major; row i of P m is row pivot[i] of m. False, with lu and
    // pivot unspecified, only when a pivot is exactly 0 (no tolerance). The
    // float form rounds lu once at the end.
    static bool factor(float lu[16], int pivot[4], const float m[16]);
    static bool factor(double lu[16], int pivot[4], const double m[16]);
    // Eigen-decomposition of a symmetric 4x4 float matrix (upper triangle
    // read) by the cyclic Jacobi scheme of computeEigenPairsSymmetric3x3_Jacobi
    // run in double until the off-diagonal part is exactly 0 (at most 50
    // sweeps); values ascending, eigenvector k in column k of vectors, both
    // rounded once to float. Returns the number of rotations.
    static int jacobi4x4f(float values[4], float vectors[16], const float matrix[16]);
    // Unsorted eigenpairs of a symmetric 3x3 double matrix:
    // computeEigenPairsSymmetric3x3_Jacobi with 50 sweeps and a tolerance of
    // the smallest denormal (stops when the off-diagonal part is exactly 0).
    // Returns the number of rotations.
    static int jacobi3d_(double values[3], double vectors[9], const double matrix[9]);
    // Eigenvalues, ascending, of a symmetric 3x3 double matrix by the same
    // Jacobi iteration as jacobi3d_ (no libm trigonometry, so every build
    // gives the same bits).
    static void computeEigenValuesSymmetric3x3(double values[3], const double matrix[9]);
    // Cyclic Jacobi eigen-decomposition of a symmetric 3x3 double matrix
    // (upper triangle read). Sweep k = 1..maxSweeps visits (0,1), (0,2), (1,2)
    // and stops early when the sum S of the absolute off-diagonal elements is
    // below tolerance; threshold 0.2 S / 9 in sweeps 1-3, 0 afterwards; from
    // sweep 5 an element with 100 |a_pq| < tolerance is zeroed unrotated.
    // Eigenvector k is column k of vectors. sort: ascending eigenvalues,
    // vector columns permuted with them (ties keep their order). rotations
    // receives the rotation count; returns true when S fell below tolerance.
    static bool computeEigenPairsSymmetric3x3_Jacobi(double values[3], double vectors[9], int& rotations,
                                                     const double matrix[9], bool sort, int maxSweeps,
                                                     double tolerance);

    // ------------------------------------------------------------- quaternions
    // (w, x, y, z). The float forms compute in double and round once, except
    // dotQuaternions, which sums in float as the interpolations require.

    static void addQuaternions(float r[4], const float a[4], const float b[4]);
    static void addQuaternions(double r[4], const double a[4], const double b[4]);
    static void subQuaternions(float r[4], const float a[4], const float b[4]);
    static void subQuaternions(double r[4], const double a[4], const double b[4]);
    // Hamilton product r = a b.
    static void multQuaternions(float r[4], const float a[4], const float b[4]);
    static void multQuaternions(double r[4], const double a[4], const double b[4]);
    // r = a b^-1 with b of any non-zero length (see inverseQuaternionU).
    static void divQuaternionsU(float r[4], const float a[4], const float b[4]);
    static void divQuaternionsU(double r[4], const double a[4], const double b[4]);
    static void conjugateQuaternion(float r[4], const float q[4]);
    static void conjugateQuaternion(double r[4], const double q[4]);
    // a.w b.w + a.x b.x + a.y b.y + a.z b.z, summed left to right in the
    // type of the operands.
    static float dotQuaternions(const float a[4], const float b[4]);
    static double dotQuaternions(const double a[4], const double b[4]);
    // Rotates v by the unit quaternion q: the vector part of q (0, v) q*.
    static void applyQuatOn(float r[3], const float q[4], const float v[3]);
    static void applyQuatOn(double r[3], const double q[4], const double v[3]);
    // Inverse of a unit quaternion: its conjugate.
    static void inverseQuaternion(float r[4], const float q[4]);
    static void inverseQuaternion(double r[4], const double q[4]);
    // Inverse of any quaternion: conjugate / |q|^2 (a zero quaternion gives
    // NaNs).
    static void inverseQuaternionU(float r[4], const float q[4]);
    static void inverseQuaternionU(double r[4], const double q[4]);
    // w = cos(angle / 2), (x, y, z) = sin(angle / 2) axis, axis taken as unit.
    static void axisToQuaternion(float q[4], const float axis[3], float angle);
    static void axisToQuaternion(double q[4], const double axis[3], double angle);
    // As axisToQuaternion after dividing axis by its length; an axis shorter
    // than 1e-7 gives the identity (1, 0, 0, 0).
    static void axisToQuaternionU(float q[4], const float axis[3], float angle);
    static void axisToQuaternionU(double q[4], const double axis[3], double angle);
    // Unit axis and angle in [0, 2 pi] of q (of any non-zero length); a
    // quaternion without vector part gives axis (1, 0, 0) and angle 0.
    static void quaternionToAxis(float axis[3], float& angle, const float q[4]);
    static void quaternionToAxis(double axis[3], double& angle, const double q[4]);
    // Unit quaternion of Rz(az) Ry(ay) Rx(ax): qz qy qx with half angles.
    static void eulerToQuaternion(float q[4], const float euler[3]);
    static void eulerToQuaternion(double q[4], const double euler[3]);
    // w = sqrt((m0 + m5 + m10 + 1) / 2); for a rotation this is sqrt(2)
    // times the unit quaternion, kept unnormalised. A half turn (w exactly 0)
    // gives the unit quaternion about the axis found from the largest
    // diagonal element.
    static void RotMatrixToQuaternion(float q[4], const float* m);
    static void RotMatrixToQuaternion(double q[4], const double* m);
    // Euler angles (ax, ay, az) of the rotation of q (any non-zero length),
    // through quaternionToMatrix and matrixToEuler.
    static void quaternionToEuler(float euler[3], const float q[4]);
    static void quaternionToEuler(double euler[3], const double q[4]);
    // (1 - t) a + t b, or (1 - t) a - t b when a . b < 0; not normalised.
    static void quaternionLERP(float q[4], const float a[4], const float b[4], float t);
    static void quaternionLERP(double q[4], const double a[4], const double b[4], double t);
    // sin((1 - t) th) a + sin(t th) b with th = acos(a . b); when a . b < 0,
    // th = acos(-a . b) and the w, x, y components take - sin(t th) b while z
    // keeps + sin(t th) b. No division by sin th and no small-angle branch:
    // the result is not normalised and is zero for th = 0.
    static void quaternionSLERP(float q[4], const float a[4], const float b[4], float t);
    static void quaternionSLERP(double q[4], const double a[4], const double b[4], double t);

    // ------------------------------------------------------------ Euler angles

    // Angles (ax, ay, az) with M = Rz(az) Ry(ay) Rx(ax) for the rotation part
    // of m: ay = -asin(m[2]) clamped, or its alternative pi - ay, whichever
    // gives the smaller |ax| + |az| (the first unless the other is smaller by
    // more than 0.001). At gimbal lock (cos ay exactly 0) az is 0 and ax
    // absorbs the whole turn about the locked axis; the products m4 m9 and
    // m5 m8 against -+1e-6 tell which pole.
    static void matrixToEuler(float euler[3], const float* m);
    static void matrixToEuler(double euler[3], const double* m);

    // -------------------------------------------------------------- fast roots

    // Fills m_invSqrtTable (128 bytes) once; later calls do nothing.
    static void initInvSqrtTable();
    // Table estimate of 1 / sqrt(x) refined by one Newton step in double.
    static float invSqrt(float x);
    // The same with n Newton steps (n = 0: the table estimate alone).
    static float invSqrt(float x, int n);
    // 1 / invSqrt(x) and 1 / invSqrt(x, n).
    static float msqrt(float x);
    static float msqrt(float x, int n);
    static unsigned char m_invSqrtTable[128];
};
