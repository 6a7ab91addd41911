#include "geometry/QMMatrixCode.h"
#include "geometry/QMMatrixCodeDetail.h"

#include "geometry/PortableMath.h"

using namespace qm_detail;

namespace {

template <class T>
void setScaleT(T* m, const T s[3]) {
    const T s0 = s[0], s1 = s[1], s2 = s[2];
    for (int i = 0; i < 16; ++i) m[i] = (T)0;
    m[0] = s0;
    m[5] = s1;
    m[10] = s2;
    m[15] = (T)1;
}

template <class T>
void setProjectionT(T* m, double fovY, double aspect, double zNear, double zFar) {
    const double f = 1.0 / PortableMath::tan(fovY * 0.5);
    double d[16];
    for (double& v : d) v = 0.0;
    d[0] = f / aspect;
    d[5] = f;
    d[10] = (zFar + zNear) / (zNear - zFar);
    d[11] = -1.0;
    d[14] = 2.0 * zFar * zNear / (zNear - zFar);
    store(m, d, 16);
}

}  // namespace

void QMMatrixCode::setIdentity(double* m) { identity4(m); }

void QMMatrixCode::setTranslate(double* m, const double t[3]) {
    const double tx = t[0], ty = t[1], tz = t[2];
    identity4(m);
    m[12] = tx;
    m[13] = ty;
    m[14] = tz;
}

void QMMatrixCode::setScale(float* m, const float s[3]) { setScaleT(m, s); }
void QMMatrixCode::setScale(double* m, const double s[3]) { setScaleT(m, s); }

void QMMatrixCode::setRotate(float* m, float ax, float ay, float az) {
    double d[16];
    eulerRotation(d, ax, ay, az);
    store(m, d, 16);
}
void QMMatrixCode::setRotate(double* m, double ax, double ay, double az) { eulerRotation(m, ax, ay, az); }

void QMMatrixCode::setRotate(float* m, const float axis[3], float angle) {
    double d[16];
    axisRotation(d, axis[0], axis[1], axis[2], angle);
    store(m, d, 16);
}
void QMMatrixCode::setRotate(double* m, const double axis[3], double angle) {
    double d[16];
    axisRotation(d, axis[0], axis[1], axis[2], angle);
    store(m, d, 16);
}

void QMMatrixCode::setProjection(float* m, float fovY, float aspect, float zNear, float zFar) {
    setProjectionT(m, fovY, aspect, zNear, zFar);
}
void QMMatrixCode::setProjection(double* m, double fovY, double aspect, double zNear, double zFar) {
    setProjectionT(m, fovY, aspect, zNear, zFar);
}

void QMMatrixCode::eulerToMatrix(float* m, const float euler[3]) { setRotate(m, euler[0], euler[1], euler[2]); }
void QMMatrixCode::eulerToMatrix(double* m, const double euler[3]) {
    double d[16];
    eulerRotation(d, euler[0], euler[1], euler[2]);
    store(m, d, 16);
}

void QMMatrixCode::quaternionToMatrix(float* m, const float q[4]) {
    double d[16];
    quaternionRotation(d, q[0], q[1], q[2], q[3]);
    store(m, d, 16);
}
void QMMatrixCode::quaternionToMatrix(double* m, const double q[4]) {
    double d[16];
    quaternionRotation(d, q[0], q[1], q[2], q[3]);
    store(m, d, 16);
}
