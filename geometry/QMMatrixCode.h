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
// Groups: construction, left and right products, vector products. Further
// kernels (inverses, decompositions, rotations, quaternions, double forms)
// join these groups or add their own under the same conventions.
class OMBREL_API QMMatrixCode {
public:
    // ------------------------------------------------------------ construction

    // Writes the identity into 16 floats.
    static void setIdentity(float* m);
    // Identity with translation t.
    static void setTranslate(float* m, const float t[3]);

    // -------------------------------------------------- left and right products

    // Adds t to the translation column (m[12 + r] += t[r] in float). For an
    // affine matrix this is M = T(t) M.
    static void multLeftByTranslate(float* m, const float t[3]);
    // Adds the upper-left 3x3 block times t to the translation column: for
    // r = 0..2, acc = m[r] t0 + m[4+r] t1 + m[8+r] t2 summed in double from
    // left to right and rounded once to float, then m[12 + r] += acc in
    // float. For an affine matrix this is M = M T(t).
    static void multRightByTranslate(float* m, const float t[3]);
    // M = S(s) M: row r (elements r, 4+r, 8+r, 12+r) multiplied by s[r] in
    // float, for r = 0..2.
    static void multLeftByScale(float* m, const float s[3]);

    // --------------------------------------------------------- vector products

    // Full projective product of the point v (w = 1). With
    // acc_r = m[r] v0 + m[4+r] v1 + m[8+r] v2 + m[12+r] for r = 0..3 in
    // double, the result is acc_r / acc_3 rounded to float, or (0, 0, 0) when
    // acc_3 is exactly 0.
    static void multMatrixVec3f(float result[3], const float* m, const float v[3]);
    // Full 4-component product: result_r = m[r] v0 + m[4+r] v1 + m[8+r] v2
    // + m[12+r] v3 in double, rounded once, for r = 0..3.
    static void multMatrixVec4f(float result[4], const float* m, const float v[4]);
    // Affine product of the point v, ignoring the projective row:
    // result_r = m[r] v0 + m[4+r] v1 + m[8+r] v2 + m[12+r] in double, rounded
    // once, for r = 0..2.
    static void multAffineMatrixVec3f(float result[3], const float* m, const float v[3]);
    // Affine product of the direction v: as multAffineMatrixVec3f without the
    // translation term.
    static void multAffineMatrixVec3fAsDir(float result[3], const float* m, const float v[3]);
};
