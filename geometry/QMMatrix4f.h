#pragma once

#include "geometry/BBox.h"
#include "geometry/QMVector.h"
#include "support/OmbrelApi.h"

#include <cstddef>
#include <type_traits>

// 4x4 float transform, column-major, for column vectors.
//
// Element (row r, column c) is m_data[4 * c + r]; the translation is
// m_data[12..14] and the projective row m_data[3], [7], [11], [15]. m_type
// records what kind of matrix this is so that point products can skip the
// projective division; see Type. The arithmetic lives in QMMatrixCode.
class OMBREL_API QMMatrix4f {
public:
    // Values of m_type.
    enum Type {
        TYPE_IDENTITY = 0,
        TYPE_TRANSLATION = 1,
        TYPE_ROTATION = 2,
        TYPE_AFFINE = 4,  // last row (0, 0, 0, 1)
        TYPE_FRONT = 5,
        TYPE_GENERAL = 6,  // projective
    };

    float m_data[16];
    int m_type;

    // The identity, type 0.
    constexpr QMMatrix4f()
        : m_data{1.0f, 0.0f, 0.0f, 0.0f, 0.0f, 1.0f, 0.0f, 0.0f, 0.0f, 0.0f, 1.0f, 0.0f, 0.0f, 0.0f, 0.0f, 1.0f},
          m_type(TYPE_IDENTITY) {}

    // The identity, type 0.
    void setIdentity();
    // Identity with translation t; type 1.
    void setTranslation(const QMVector3f& t);
    // Identity, type 0, then multLeftByScale(s): a scale matrix of type 4.
    // A negative factor leaves -0.0 off the diagonal of its row.
    void setScale(const QMVector3f& s);
    // Scale about a centre, M = T(c) S(s) T(-c), built in three steps:
    // setTranslation(-centre), multLeftByScale(s), multLeftByTranslate(centre).
    void setScale(const QMVector3f& s, const QMVector3f& centre);

    // Adds t to the translation column (T(t) M for an affine M).
    // Type becomes 4 if it was below 5.
    void multLeftByTranslate(const QMVector3f& t);
    // Adds the upper-left 3x3 block times t (summed in double, rounded once)
    // to the translation column (M T(t) for an affine M).
    // Type becomes 4 if it was below 5.
    void multRightByTranslate(const QMVector3f& t);
    // Multiplies row r by s[r] for r = 0..2, i.e. M = S(s) M.
    // Type becomes 4 if it was below 5.
    void multLeftByScale(const QMVector3f& s);

    // Full projective product, whatever the type: the affine sums divided by
    // w = m[3] x + m[7] y + m[11] z + m[15] in double, or (0, 0, 0) when w is
    // exactly 0.
    QMVector3f multVec3f(const QMVector3f& p) const;
    // Affine product without translation (a direction).
    QMVector3f multVec3fAsDir(const QMVector3f& d) const;
    // Full 4-component product.
    void multVec4f(QMVector4f& result, const QMVector4f& v) const;

    // True when all 16 floats compare equal (so -0.0 equals 0.0 and a NaN
    // equals nothing). The type code is not compared.
    bool equals(const QMMatrix4f& other) const;
    // True when every pair of floats differs by at most eps in absolute value
    // (|a - b| <= eps in float). The type code is not compared.
    bool equalsEps(const QMMatrix4f& other, float eps) const;

    // Type 4 when m_data[3], [7], [11] are exactly 0 and m_data[15] exactly 1,
    // otherwise 6 (a NaN in any of them included).
    void updateMatrixType();
    // Always true.
    bool isValid() const;

    static const QMMatrix4f m_identity;
    // Set by matrix inversion; initially 0.
    static int s_inversibleFlag;

private:
    // Moves the type code to "affine" unless it already is a projective kind.
    void markAffine() {
        if (m_type < TYPE_FRONT) m_type = TYPE_AFFINE;
    }
};

static_assert(sizeof(QMMatrix4f) == 16 * sizeof(float) + sizeof(int), "QMMatrix4f layout");
static_assert(std::is_standard_layout_v<QMMatrix4f> && std::is_trivially_copyable_v<QMMatrix4f>,
              "QMMatrix4f must be copyable as raw bytes");
static_assert(offsetof(QMMatrix4f, m_type) == 16 * sizeof(float), "QMMatrix4f field order");

// m * p: the projective product (multVec3f) when m.m_type > 4, otherwise the
// affine product m[r] x + m[4+r] y + m[8+r] z + m[12+r] summed in double and
// rounded once. For an affine matrix both give the same floats.
OMBREL_API QMVector3f operator*(const QMMatrix4f& m, const QMVector3f& p);

// ------------------------------------------------------------ placement

// The placement transform of an export: scales the scene uniformly so that
// the Y extent of box becomes height and moves box's minimum corner to the
// origin, p' = s (p - min) with s = height / dy. A box whose Y extent lies
// strictly within 1e-5 of zero (an empty box included) gives the identity
// with type 0. Otherwise M has type 4. A negative height mirrors the scene.
OMBREL_API void buildMatrix(QMMatrix4f& M, float height, const BBox& box);

// Takes the four flip-and-switch flags and ignores them: the matrix is the
// one of buildMatrix(M, height, box).
OMBREL_API void buildMatrix(QMMatrix4f& M, float height, bool flag0, bool flag1, bool flag2, bool flag3,
                            const BBox& box);

// Decodes the flip-and-switch code into the four flags (bit 0 is the first,
// bit 3 the fourth; higher bits are ignored) and calls the flag form.
OMBREL_API void buildMatrix(QMMatrix4f& M, float height, int code, const BBox& box);
