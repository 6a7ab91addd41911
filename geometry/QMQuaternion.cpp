#include "geometry/QMQuaternion.h"

#include "geometry/QMMatrix4f.h"
#include "geometry/QMMatrixCode.h"

#include <cmath>

QMQuaternion::QMQuaternion(const QMMatrix4f& m) { setValue(m); }

QMQuaternion::QMQuaternion(const QMVector3f& axis, float angle) { setValue(axis, angle); }

QMQuaternion::QMQuaternion(float ax, float ay, float az) {
    const float e[3] = {ax, ay, az};
    float q[4];
    QMMatrixCode::eulerToQuaternion(q, e);
    *this = fromArray(q);
}

QMQuaternion::QMQuaternion(const QMVector3f& from, const QMVector3f& to) { setValue(from, to); }

void QMQuaternion::setValue(const QMVector3f& from, const QMVector3f& to) {
    QMVector3f axis;
    QMVector3f::cross(axis, from, to);
    setValue(axis, (float)from.angleD(to));
}

void QMQuaternion::setValue(const QMVector3f& axis, float angle) {
    const float a[3] = {axis.x, axis.y, axis.z};
    float q[4];
    QMMatrixCode::axisToQuaternionU(q, a, angle);
    *this = fromArray(q);
}

void QMQuaternion::setValue(const QMMatrix4f& m) {
    float q[4];
    QMMatrixCode::RotMatrixToQuaternion(q, m.m_data);
    *this = fromArray(q);
}

float QMQuaternion::length() const {
    return (float)std::sqrt((double)w * w + (double)x * x + (double)y * y + (double)z * z);
}

float QMQuaternion::normalize() {
    const double len = std::sqrt((double)w * w + (double)x * x + (double)y * y + (double)z * z);
    w = (float)(w / len);
    x = (float)(x / len);
    y = (float)(y / len);
    z = (float)(z / len);
    return (float)len;
}

float QMQuaternion::dot(const QMQuaternion& q) const {
    float a[4], b[4];
    toArray(a);
    q.toArray(b);
    return QMMatrixCode::dotQuaternions(a, b);
}

void QMQuaternion::multLeftBy(const QMQuaternion& q) { *this = q * *this; }
void QMQuaternion::multRightBy(const QMQuaternion& q) { *this = *this * q; }
void QMQuaternion::div(const QMQuaternion& q) { *this = *this / q; }

QMQuaternion QMQuaternion::operator*(const QMQuaternion& q) const {
    float a[4], b[4], r[4];
    toArray(a);
    q.toArray(b);
    QMMatrixCode::multQuaternions(r, a, b);
    return fromArray(r);
}

QMQuaternion QMQuaternion::operator/(const QMQuaternion& q) const {
    float a[4], b[4], r[4];
    toArray(a);
    q.toArray(b);
    QMMatrixCode::divQuaternionsU(r, a, b);
    return fromArray(r);
}

QMQuaternion QMQuaternion::operator+(const QMQuaternion& q) const {
    float a[4], b[4], r[4];
    toArray(a);
    q.toArray(b);
    QMMatrixCode::addQuaternions(r, a, b);
    return fromArray(r);
}

QMQuaternion QMQuaternion::operator-(const QMQuaternion& q) const {
    float a[4], b[4], r[4];
    toArray(a);
    q.toArray(b);
    QMMatrixCode::subQuaternions(r, a, b);
    return fromArray(r);
}

QMQuaternion& QMQuaternion::operator*=(const QMQuaternion& q) {
    *this = *this * q;
    return *this;
}

QMQuaternion& QMQuaternion::operator/=(const QMQuaternion& q) {
    *this = *this / q;
    return *this;
}

QMQuaternion QMQuaternion::conjugate() const { return QMQuaternion(w, -x, -y, -z); }

QMQuaternion QMQuaternion::inverse() const {
    float a[4], r[4];
    toArray(a);
    QMMatrixCode::inverseQuaternionU(r, a);
    return fromArray(r);
}

void QMQuaternion::getMatrix(QMMatrix4f& m) const {
    float a[4];
    toArray(a);
    QMMatrixCode::quaternionToMatrix(m.m_data, a);
    m.m_type = QMMatrix4f::TYPE_ROTATION;
}

void QMQuaternion::getAxisAngle(QMVector3f& axis, float& angle) const {
    float a[4], v[3];
    toArray(a);
    QMMatrixCode::quaternionToAxis(v, angle, a);
    axis = QMVector3f(v[0], v[1], v[2]);
}

void QMQuaternion::getEuler(float& ax, float& ay, float& az) const {
    float a[4], e[3];
    toArray(a);
    QMMatrixCode::quaternionToEuler(e, a);
    ax = e[0];
    ay = e[1];
    az = e[2];
}

QMVector3f QMQuaternion::apply(const QMVector3f& v) const {
    float a[4], in[3] = {v.x, v.y, v.z}, r[3];
    toArray(a);
    QMMatrixCode::applyQuatOn(r, a, in);
    return QMVector3f(r[0], r[1], r[2]);
}

QMQuaternion QMQuaternion::lerp(const QMQuaternion& a, const QMQuaternion& b, float t) {
    float qa[4], qb[4], r[4];
    a.toArray(qa);
    b.toArray(qb);
    QMMatrixCode::quaternionLERP(r, qa, qb, t);
    return fromArray(r);
}

QMQuaternion QMQuaternion::slerp(const QMQuaternion& a, const QMQuaternion& b, float t) {
    float qa[4], qb[4], r[4];
    a.toArray(qa);
    b.toArray(qb);
    QMMatrixCode::quaternionSLERP(r, qa, qb, t);
    return fromArray(r);
}
