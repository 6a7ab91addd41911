#include "geometry/QMMatrix4f.h"

#include "geometry/QMMatrixCode.h"

#include <cmath>

const QMMatrix4f QMMatrix4f::m_identity;
int QMMatrix4f::s_inversibleFlag = 0;

void QMMatrix4f::setIdentity() {
    QMMatrixCode::setIdentity(m_data);
    m_type = TYPE_IDENTITY;
}

void QMMatrix4f::setTranslation(const QMVector3f& t) {
    const float v[3] = {t.x, t.y, t.z};
    QMMatrixCode::setTranslate(m_data, v);
    m_type = TYPE_TRANSLATION;
}

void QMMatrix4f::setScale(const QMVector3f& s) {
    QMMatrixCode::setIdentity(m_data);
    m_type = TYPE_IDENTITY;
    multLeftByScale(s);
}

void QMMatrix4f::setScale(const QMVector3f& s, const QMVector3f& centre) {
    setTranslation(-centre);
    multLeftByScale(s);
    multLeftByTranslate(centre);
}

void QMMatrix4f::multLeftByTranslate(const QMVector3f& t) {
    const float v[3] = {t.x, t.y, t.z};
    QMMatrixCode::multLeftByTranslate(m_data, v);
    markAffine();
}

void QMMatrix4f::multRightByTranslate(const QMVector3f& t) {
    const float v[3] = {t.x, t.y, t.z};
    QMMatrixCode::multRightByTranslate(m_data, v);
    markAffine();
}

void QMMatrix4f::multLeftByScale(const QMVector3f& s) {
    const float v[3] = {s.x, s.y, s.z};
    QMMatrixCode::multLeftByScale(m_data, v);
    markAffine();
}

QMVector3f QMMatrix4f::multVec3f(const QMVector3f& p) const {
    const float v[3] = {p.x, p.y, p.z};
    float r[3];
    QMMatrixCode::multMatrixVec3f(r, m_data, v);
    return QMVector3f(r[0], r[1], r[2]);
}

QMVector3f QMMatrix4f::multVec3fAsDir(const QMVector3f& d) const {
    const float v[3] = {d.x, d.y, d.z};
    float r[3];
    QMMatrixCode::multAffineMatrixVec3fAsDir(r, m_data, v);
    return QMVector3f(r[0], r[1], r[2]);
}

void QMMatrix4f::multVec4f(QMVector4f& result, const QMVector4f& v) const {
    const float in[4] = {v.x, v.y, v.z, v.w};
    float r[4];
    QMMatrixCode::multMatrixVec4f(r, m_data, in);
    result = QMVector4f(r[0], r[1], r[2], r[3]);
}

bool QMMatrix4f::equals(const QMMatrix4f& other) const {
    for (int i = 0; i < 16; ++i) {
        if (!(m_data[i] == other.m_data[i])) return false;
    }
    return true;
}

bool QMMatrix4f::equalsEps(const QMMatrix4f& other, float eps) const {
    for (int i = 0; i < 16; ++i) {
        if (!(std::fabs(m_data[i] - other.m_data[i]) <= eps)) return false;
    }
    return true;
}

void QMMatrix4f::updateMatrixType() {
    if (m_data[3] == 0.0f && m_data[7] == 0.0f && m_data[11] == 0.0f && m_data[15] == 1.0f)
        m_type = TYPE_AFFINE;
    else
        m_type = TYPE_GENERAL;
}

bool QMMatrix4f::isValid() const { return true; }

QMVector3f operator*(const QMMatrix4f& m, const QMVector3f& p) {
    const float v[3] = {p.x, p.y, p.z};
    float r[3];
    if (m.m_type > QMMatrix4f::TYPE_AFFINE)
        QMMatrixCode::multMatrixVec3f(r, m.m_data, v);
    else
        QMMatrixCode::multAffineMatrixVec3f(r, m.m_data, v);
    return QMVector3f(r[0], r[1], r[2]);
}
