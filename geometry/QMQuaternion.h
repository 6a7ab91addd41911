#pragma once

#include "geometry/QMVector.h"
#include "support/OmbrelApi.h"

class QMMatrix4f;

// Quaternion of four floats, scalar first (w, x, y, z), over the quaternion
// kernels of QMMatrixCode.
class OMBREL_API QMQuaternion {
public:
    float w;
    float x;
    float y;
    float z;

    // The identity rotation (1, 0, 0, 0).
    constexpr QMQuaternion() : w(1.0f), x(0.0f), y(0.0f), z(0.0f) {}
    constexpr QMQuaternion(float aw, float ax, float ay, float az) : w(aw), x(ax), y(ay), z(az) {}
    // RotMatrixToQuaternion of the matrix, not normalised: a rotation gives
    // sqrt(2) times its unit quaternion.
    explicit QMQuaternion(const QMMatrix4f& m);
    // axisToQuaternionU: the axis need not be unit; a zero axis gives the
    // identity.
    QMQuaternion(const QMVector3f& axis, float angle);
    // Euler angles (ax, ay, az), M = Rz(az) Ry(ay) Rx(ax).
    QMQuaternion(float ax, float ay, float az);
    // The rotation taking from onto to (see setValue).
    QMQuaternion(const QMVector3f& from, const QMVector3f& to);

    // Axis from x to, angle from.angleD(to), then axisToQuaternionU: parallel
    // and opposite vectors both give the identity.
    void setValue(const QMVector3f& from, const QMVector3f& to);
    void setValue(const QMVector3f& axis, float angle);
    void setValue(const QMMatrix4f& m);

    // Divides the four components by the length, with no zero test (a zero
    // quaternion becomes NaN); returns the length.
    float normalize();
    float length() const;
    float dot(const QMQuaternion& q) const;

    // this = q this, and this = this q.
    void multLeftBy(const QMQuaternion& q);
    void multRightBy(const QMQuaternion& q);
    // this = this q^-1 (divQuaternionsU).
    void div(const QMQuaternion& q);

    QMQuaternion operator*(const QMQuaternion& q) const;
    QMQuaternion operator/(const QMQuaternion& q) const;
    QMQuaternion operator+(const QMQuaternion& q) const;
    QMQuaternion operator-(const QMQuaternion& q) const;
    QMQuaternion& operator*=(const QMQuaternion& q);
    QMQuaternion& operator/=(const QMQuaternion& q);

    QMQuaternion conjugate() const;
    // conjugate / |q|^2.
    QMQuaternion inverse() const;

    // The rotation matrix (quaternionToMatrix, scaled to unit), type 2.
    void getMatrix(QMMatrix4f& m) const;
    void getAxisAngle(QMVector3f& axis, float& angle) const;
    void getEuler(float& ax, float& ay, float& az) const;
    // Rotates v by this quaternion, taken as unit.
    QMVector3f apply(const QMVector3f& v) const;

    static QMQuaternion lerp(const QMQuaternion& a, const QMQuaternion& b, float t);
    static QMQuaternion slerp(const QMQuaternion& a, const QMQuaternion& b, float t);

private:
    void toArray(float q[4]) const {
        q[0] = w;
        q[1] = x;
        q[2] = y;
        q[3] = z;
    }
    static QMQuaternion fromArray(const float q[4]) { return QMQuaternion(q[0], q[1], q[2], q[3]); }
};

static_assert(sizeof(QMQuaternion) == 4 * sizeof(float), "QMQuaternion must be four packed floats");
