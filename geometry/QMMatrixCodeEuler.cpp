#include "geometry/QMMatrixCode.h"
#include "geometry/QMMatrixCodeDetail.h"

#include "geometry/PortableMath.h"

#include <cmath>

using namespace qm_detail;

namespace {

const double kPi = 3.141592653589793;

template <class T>
void matrixToEulerT(double* e, const T* p) {
    auto m = [p](int i) { return (double)p[i]; };
    double s = m(2);
    if (s > 1.0) s = 1.0;
    if (s < -1.0) s = -1.0;
    const double ay = -PortableMath::asin(s);
    // cos ay from the sine: exactly 0 when |m2| is exactly 1.
    const double c = std::sqrt((1.0 - s) * (1.0 + s));
    if (c == 0.0) {
        // Gimbal lock: only ax - az (ay = pi/2) or ax + az (ay = -pi/2) is
        // defined; az is taken as 0. With az = 0 the block reads
        // m4 = +-sin ax, m5 = cos ax, m8 = +-cos ax, m9 = -+sin ax, so the
        // products m4 m9 and m5 m8 are -sin^2, cos^2 at the north pole and
        // +sin^2, -cos^2 at the south pole.
        const double p49 = m(4) * m(9);
        const double p58 = m(5) * m(8);
        bool north;
        if (p49 < -1e-6 || p58 > 1e-6)
            north = true;
        else if (p49 > 1e-6 || p58 < -1e-6)
            north = false;
        else
            north = s < 0.0;
        e[0] = north ? PortableMath::atan2(m(4), m(5)) : PortableMath::atan2(-m(4), m(5));
        e[1] = north ? kPi / 2 : -kPi / 2;
        e[2] = 0.0;
        return;
    }
    // m6 = cy sx, m10 = cy cx, m1 = cy sz, m0 = cy cz.
    const double ax1 = PortableMath::atan2(m(6), m(10));
    const double az1 = PortableMath::atan2(m(1), m(0));
    const double ax2 = PortableMath::atan2(-m(6), -m(10));
    const double az2 = PortableMath::atan2(-m(1), -m(0));
    const double ay2 = (ay > 0.0 ? kPi : -kPi) - ay;
    if (std::fabs(ax2) + std::fabs(az2) + 0.001 < std::fabs(ax1) + std::fabs(az1)) {
        e[0] = ax2;
        e[1] = ay2;
        e[2] = az2;
    } else {
        e[0] = ax1;
        e[1] = ay;
        e[2] = az1;
    }
}

}  // namespace

void QMMatrixCode::matrixToEuler(float euler[3], const float* m) {
    double e[3];
    matrixToEulerT(e, m);
    store(euler, e, 3);
}

void QMMatrixCode::matrixToEuler(double euler[3], const double* m) {
    double e[3];
    matrixToEulerT(e, m);
    store(euler, e, 3);
}
