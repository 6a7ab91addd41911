#pragma once

#include "geometry/BBox.h"
#include "geometry/QMVector.h"
#include "support/OmbrelApi.h"

#include <cstddef>
#include <type_traits>

class QMQuaternion;

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

    // ------------------------------------------------ kernels beyond export

    // Copies 16 floats (column-major), then updateMatrixType().
    void setValue(const float values[16]);
    // Columns x, y, z and translation origin, last row (0, 0, 0, 1); type 4.
    void setBase(const QMVector3f& x, const QMVector3f& y, const QMVector3f& z, const QMVector3f& origin);
    // Scale by factor along axis (normalised here), I + (factor - 1) n n^T;
    // a zero axis gives the identity. Type 4.
    void setScale(const QMVector3f& axis, float factor);
    // Rotation by angle about axis (normalised here; a zero axis gives the
    // identity). Type 2.
    void setRotation(const QMVector3f& axis, float angle);
    // Rotation of q (any non-zero length) about centre: T(c) R T(-c). Type 2.
    void setRotation(const QMQuaternion& q, const QMVector3f& centre);
    // Rotation by angle about axis through centre. Type 2.
    void setRotation(const QMVector3f& axis, float angle, const QMVector3f& centre);
    // Rotation taking the direction from onto to, as QMQuaternion(from, to):
    // parallel and opposite directions give the identity. Type 2.
    void setRotationFromTo(const QMVector3f& from, const QMVector3f& to);
    // The matrix whose rows are x, y, z: it takes the frame (x, y, z) onto
    // the coordinate axes. Type 2.
    void setRotationFromAxisToXYZ(const QMVector3f& x, const QMVector3f& y, const QMVector3f& z);
    // The matrix whose columns are x, y, z: it takes the coordinate axes
    // onto the frame. Type 2.
    void setRotationFromXYZToAxis(const QMVector3f& x, const QMVector3f& y, const QMVector3f& z);
    // Takes frame 1 onto frame 2: FromXYZToAxis(2) FromAxisToXYZ(1). Type 2.
    void setRotationFromAxisToAxis(const QMVector3f& x1, const QMVector3f& y1, const QMVector3f& z1,
                                   const QMVector3f& x2, const QMVector3f& y2, const QMVector3f& z2);

    // this = m this and this = this m (summed in double); type 6.
    void multLeftBy(const QMMatrix4f& m);
    void multRightBy(const QMMatrix4f& m);

    // General inverse (QMMatrixCode::inverseMatrix) into result, which takes
    // this matrix's type code. Sets s_inversibleFlag to 1 on success, 0 on
    // failure (result then unspecified). Returns the success.
    bool inverse(QMMatrix4f& result) const;
    // Transposes the upper-left 3x3 block in place; type unchanged.
    void transpose3();

    // Divides each of the three first columns by its length (a zero column
    // is left as it is), removing scale from a rotation-and-scale block.
    void normalizeMatrix();
    // Gram-Schmidt on the three first columns: X normalised, Y made
    // orthogonal to X and normalised, Z = X x Y (a right-handed frame).
    void orthoNormalizeMatrix();
    // Cosine of the rotation angle of the block: (m0 + m5 + m10 - 1) / 2 in
    // double, clamped to [-1, 1].
    float getCosAngle() const;
    // For a matrix of type 5 (a view projection): true when the point lies
    // in front, w = m3 x + m7 y + m11 z + m15 > 0. False for any other type.
    bool isFront(const QMVector3f& p) const;

    // this = T M S: T the translation, S = diag(lengths of the three first
    // columns), M the block with its columns divided by them. Outputs type 6.
    void getTMSDecomp(QMMatrix4f& t, QMMatrix4f& m, QMMatrix4f& s) const;
    // Polar decomposition of the block A = R S (R orthogonal, S symmetric),
    // by the averaged iteration R <- (R + R^-T) / 2 in double; translation
    // dropped. False when the block is singular. Outputs type 6.
    bool getRSDecomp(QMMatrix4f& r, QMMatrix4f& s) const;
    // this = T R S with T the translation and R S as getRSDecomp.
    bool getTRSDecomp(QMMatrix4f& t, QMMatrix4f& r, QMMatrix4f& s) const;
    // Translation, rotation (as a unit quaternion) and the scale diagonal of
    // getTRSDecomp's S, a mirror folded into negative scales. False when the
    // block is singular.
    bool getTransform(QMVector3f& translation, QMQuaternion& rotation, QMVector3f& scale) const;

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
