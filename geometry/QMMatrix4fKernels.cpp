#include "geometry/QMMatrix4f.h"

#include "geometry/QMMatrixCode.h"
#include "geometry/QMQuaternion.h"

#include <cmath>

namespace {

void unitOrZero(double n[3], const QMVector3f& v) {
    const double x = v.x, y = v.y, z = v.z;
    const double len = std::sqrt(x * x + y * y + z * z);
    if (len == 0.0) {
        n[0] = n[1] = n[2] = 0.0;
        return;
    }
    n[0] = x / len;
    n[1] = y / len;
    n[2] = z / len;
}

}  // namespace

void QMMatrix4f::setValue(const float values[16]) {
    for (int i = 0; i < 16; ++i) m_data[i] = values[i];
    updateMatrixType();
}

void QMMatrix4f::setBase(const QMVector3f& x, const QMVector3f& y, const QMVector3f& z, const QMVector3f& origin) {
    const float v[16] = {x.x, x.y, x.z, 0, y.x, y.y, y.z, 0, z.x, z.y, z.z, 0, origin.x, origin.y, origin.z, 1};
    for (int i = 0; i < 16; ++i) m_data[i] = v[i];
    m_type = TYPE_AFFINE;
}

void QMMatrix4f::setScale(const QMVector3f& axis, float factor) {
    double n[3];
    unitOrZero(n, axis);
    const double k = (double)factor - 1.0;
    double d[16];
    QMMatrixCode::setIdentity(d);
    for (int c = 0; c < 3; ++c)
        for (int r = 0; r < 3; ++r) d[4 * c + r] += k * n[r] * n[c];
    QMMatrixCode::copyMat4dToMat4f(m_data, d);
    m_type = TYPE_AFFINE;
}

void QMMatrix4f::setRotation(const QMVector3f& axis, float angle) {
    double n[3];
    unitOrZero(n, axis);
    if (n[0] == 0.0 && n[1] == 0.0 && n[2] == 0.0) {
        QMMatrixCode::setIdentity(m_data);
    } else {
        double d[16];
        QMMatrixCode::setRotate(d, n, (double)angle);
        QMMatrixCode::copyMat4dToMat4f(m_data, d);
    }
    m_type = TYPE_ROTATION;
}

void QMMatrix4f::setRotation(const QMQuaternion& q, const QMVector3f& centre) {
    const double dq[4] = {q.w, q.x, q.y, q.z};
    double d[16];
    QMMatrixCode::quaternionToMatrix(d, dq);
    const double c[3] = {centre.x, centre.y, centre.z};
    const double minus[3] = {-c[0], -c[1], -c[2]};
    QMMatrixCode::multRightByTranslate(d, minus);
    QMMatrixCode::multLeftByTranslate(d, c);
    QMMatrixCode::copyMat4dToMat4f(m_data, d);
    m_type = TYPE_ROTATION;
}

void QMMatrix4f::setRotation(const QMVector3f& axis, float angle, const QMVector3f& centre) {
    setRotation(axis, angle);
    double d[16];
    QMMatrixCode::copyMat4fToMat4d(d, m_data);
    const double c[3] = {centre.x, centre.y, centre.z};
    const double minus[3] = {-c[0], -c[1], -c[2]};
    QMMatrixCode::multRightByTranslate(d, minus);
    QMMatrixCode::multLeftByTranslate(d, c);
    QMMatrixCode::copyMat4dToMat4f(m_data, d);
    m_type = TYPE_ROTATION;
}

void QMMatrix4f::setRotationFromTo(const QMVector3f& from, const QMVector3f& to) {
    const QMQuaternion q(from, to);
    q.getMatrix(*this);
    m_type = TYPE_ROTATION;
}

void QMMatrix4f::setRotationFromAxisToXYZ(const QMVector3f& x, const QMVector3f& y, const QMVector3f& z) {
    const float v[16] = {x.x, y.x, z.x, 0, x.y, y.y, z.y, 0, x.z, y.z, z.z, 0, 0, 0, 0, 1};
    for (int i = 0; i < 16; ++i) m_data[i] = v[i];
    m_type = TYPE_ROTATION;
}

void QMMatrix4f::setRotationFromXYZToAxis(const QMVector3f& x, const QMVector3f& y, const QMVector3f& z) {
    const float v[16] = {x.x, x.y, x.z, 0, y.x, y.y, y.z, 0, z.x, z.y, z.z, 0, 0, 0, 0, 1};
    for (int i = 0; i < 16; ++i) m_data[i] = v[i];
    m_type = TYPE_ROTATION;
}

void QMMatrix4f::setRotationFromAxisToAxis(const QMVector3f& x1, const QMVector3f& y1, const QMVector3f& z1,
                                           const QMVector3f& x2, const QMVector3f& y2, const QMVector3f& z2) {
    QMMatrix4f a, b;
    a.setRotationFromAxisToXYZ(x1, y1, z1);
    b.setRotationFromXYZToAxis(x2, y2, z2);
    QMMatrixCode::multMatrices(m_data, b.m_data, a.m_data);
    m_type = TYPE_ROTATION;
}

void QMMatrix4f::multLeftBy(const QMMatrix4f& m) {
    QMMatrixCode::multMatrices(m_data, m.m_data, m_data);
    m_type = TYPE_GENERAL;
}

void QMMatrix4f::multRightBy(const QMMatrix4f& m) {
    QMMatrixCode::multMatrices(m_data, m_data, m.m_data);
    m_type = TYPE_GENERAL;
}

bool QMMatrix4f::inverse(QMMatrix4f& result) const {
    const int type = m_type;
    const bool ok = QMMatrixCode::inverseMatrix(result.m_data, m_data);
    result.m_type = type;
    s_inversibleFlag = ok ? 1 : 0;
    return ok;
}

void QMMatrix4f::transpose3() {
    float t[9];
    QMMatrixCode::copyMat4fToMat3f(t, m_data);
    QMMatrixCode::transposeMatrix3x3(t, t);
    for (int c = 0; c < 3; ++c)
        for (int r = 0; r < 3; ++r) m_data[4 * c + r] = t[3 * c + r];
}

void QMMatrix4f::normalizeMatrix() {
    for (int c = 0; c < 3; ++c) {
        float* col = m_data + 4 * c;
        const double len = std::sqrt((double)col[0] * col[0] + (double)col[1] * col[1] + (double)col[2] * col[2]);
        if (len == 0.0) continue;
        for (int r = 0; r < 3; ++r) col[r] = (float)(col[r] / len);
    }
}

void QMMatrix4f::orthoNormalizeMatrix() {
    double x[3], y[3];
    for (int r = 0; r < 3; ++r) x[r] = m_data[r], y[r] = m_data[4 + r];
    auto normalise = [](double* v) {
        const double len = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
        if (len == 0.0) return;
        for (int r = 0; r < 3; ++r) v[r] /= len;
    };
    normalise(x);
    const double d = x[0] * y[0] + x[1] * y[1] + x[2] * y[2];
    for (int r = 0; r < 3; ++r) y[r] -= d * x[r];
    normalise(y);
    const double z[3] = {x[1] * y[2] - x[2] * y[1], x[2] * y[0] - x[0] * y[2], x[0] * y[1] - x[1] * y[0]};
    for (int r = 0; r < 3; ++r) {
        m_data[r] = (float)x[r];
        m_data[4 + r] = (float)y[r];
        m_data[8 + r] = (float)z[r];
    }
}

float QMMatrix4f::getCosAngle() const {
    double c = ((double)m_data[0] + (double)m_data[5] + (double)m_data[10] - 1.0) * 0.5;
    if (c > 1.0) c = 1.0;
    if (c < -1.0) c = -1.0;
    return (float)c;
}

bool QMMatrix4f::isFront(const QMVector3f& p) const {
    if (m_type != TYPE_FRONT) return false;
    double w = (double)m_data[3] * p.x;
    w += (double)m_data[7] * p.y;
    w += (double)m_data[11] * p.z;
    w += (double)m_data[15];
    return w > 0.0;
}

void QMMatrix4f::getTMSDecomp(QMMatrix4f& t, QMMatrix4f& m, QMMatrix4f& s) const {
    t.setTranslation(QMVector3f(m_data[12], m_data[13], m_data[14]));
    float scale[3];
    m = *this;
    m.m_data[12] = m.m_data[13] = m.m_data[14] = 0.0f;
    for (int c = 0; c < 3; ++c) {
        const float* col = m_data + 4 * c;
        const double len = std::sqrt((double)col[0] * col[0] + (double)col[1] * col[1] + (double)col[2] * col[2]);
        scale[c] = (float)len;
        if (len != 0.0)
            for (int r = 0; r < 3; ++r) m.m_data[4 * c + r] = (float)(col[r] / len);
    }
    s.setScale(QMVector3f(scale[0], scale[1], scale[2]));
    t.m_type = m.m_type = s.m_type = TYPE_GENERAL;
}

bool QMMatrix4f::getRSDecomp(QMMatrix4f& r, QMMatrix4f& s) const {
    double a[9], q[9];
    QMMatrixCode::copyMat4fToMat3d(a, m_data);
    for (int i = 0; i < 9; ++i) q[i] = a[i];
    for (int iter = 0; iter < 100; ++iter) {
        double inv[9], invT[9], next[9];
        if (!QMMatrixCode::inverseMatrix3x3(inv, q)) return false;
        QMMatrixCode::transposeMatrix3x3(invT, inv);
        double change = 0.0;
        for (int i = 0; i < 9; ++i) {
            next[i] = 0.5 * (q[i] + invT[i]);
            change += std::fabs(next[i] - q[i]);
        }
        for (int i = 0; i < 9; ++i) q[i] = next[i];
        if (change < 1e-15) break;
    }
    // S = R^T A, symmetrised.
    double qt[9], sd[9];
    QMMatrixCode::transposeMatrix3x3(qt, q);
    QMMatrixCode::multMatrices3x3(sd, qt, a);
    for (int c = 0; c < 3; ++c)
        for (int k = c + 1; k < 3; ++k) {
            const double avg = 0.5 * (sd[3 * c + k] + sd[3 * k + c]);
            sd[3 * c + k] = sd[3 * k + c] = avg;
        }
    QMMatrixCode::copyMat3dToMat4f(r.m_data, q);
    QMMatrixCode::copyMat3dToMat4f(s.m_data, sd);
    r.m_type = s.m_type = TYPE_GENERAL;
    return true;
}

bool QMMatrix4f::getTRSDecomp(QMMatrix4f& t, QMMatrix4f& r, QMMatrix4f& s) const {
    if (!getRSDecomp(r, s)) return false;
    t.setTranslation(QMVector3f(m_data[12], m_data[13], m_data[14]));
    t.m_type = TYPE_GENERAL;
    return true;
}

bool QMMatrix4f::getTransform(QMVector3f& translation, QMQuaternion& rotation, QMVector3f& scale) const {
    QMMatrix4f t, r, s;
    if (!getTRSDecomp(t, r, s)) return false;
    translation = QMVector3f(m_data[12], m_data[13], m_data[14]);
    if (QMMatrixCode::det4(r.m_data) < 0.0f) {
        // A mirror: R S = (-R)(-S) with -R a proper rotation.
        for (int c = 0; c < 3; ++c)
            for (int k = 0; k < 3; ++k)
                r.m_data[4 * c + k] = -r.m_data[4 * c + k], s.m_data[4 * c + k] = -s.m_data[4 * c + k];
    }
    rotation = QMQuaternion(r);
    rotation.normalize();
    scale = QMVector3f(s.m_data[0], s.m_data[5], s.m_data[10]);
    return true;
}
