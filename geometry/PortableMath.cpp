#include "geometry/PortableMath.h"

#include <bit>
#include <cmath>
#include <cstdint>

namespace {

const double kPi = 3.14159265358979311600e+00;
const double kPio2Hi = 1.57079632679489655800e+00;
const double kPio2Lo = 6.12323399573676603587e-17;

// Rational approximation of (asin(sqrt(z)) - sqrt(z)) / sqrt(z) for z in
// [0, 0.25], the classic minimax pair.
double asinRatio(double z) {
    const double pS0 = 1.66666666666666657415e-01;
    const double pS1 = -3.25565818622400915405e-01;
    const double pS2 = 2.01212532134862925881e-01;
    const double pS3 = -4.00555345006794114027e-02;
    const double pS4 = 7.91534994289814532176e-04;
    const double pS5 = 3.47933107596021167570e-05;
    const double qS1 = -2.40339491173441421878e+00;
    const double qS2 = 2.02094576023350569471e+00;
    const double qS3 = -6.88283971605453293030e-01;
    const double qS4 = 7.70381505559019352791e-02;
    const double p = z * (pS0 + z * (pS1 + z * (pS2 + z * (pS3 + z * (pS4 + z * pS5)))));
    const double q = 1.0 + z * (qS1 + z * (qS2 + z * (qS3 + z * qS4)));
    return p / q;
}

// sin on [-pi/4, pi/4] for x + y (y the low part of the reduced argument).
double kernelSin(double x, double y) {
    const double S1 = -1.66666666666666324348e-01;
    const double S2 = 8.33333333332248946124e-03;
    const double S3 = -1.98412698298579493134e-04;
    const double S4 = 2.75573137070700676789e-06;
    const double S5 = -2.50507602534068634195e-08;
    const double S6 = 1.58969099521155010221e-10;
    const double z = x * x;
    const double v = z * x;
    const double r = S2 + z * (S3 + z * (S4 + z * (S5 + z * S6)));
    return x - ((z * (0.5 * y - v * r) - y) - v * S1);
}

// cos on [-pi/4, pi/4] for x + y.
double kernelCos(double x, double y) {
    const double C1 = 4.16666666666666019037e-02;
    const double C2 = -1.38888888888741095749e-03;
    const double C3 = 2.48015872894767294178e-05;
    const double C4 = -2.75573143513906633035e-07;
    const double C5 = 2.08757232129817482790e-09;
    const double C6 = -1.13596475577881948265e-11;
    const double z = x * x;
    const double r = z * (C1 + z * (C2 + z * (C3 + z * (C4 + z * (C5 + z * C6)))));
    const double hz = 0.5 * z;
    const double w = 1.0 - hz;
    return w + (((1.0 - w) - hz) + (z * r - x * y));
}

// tan on [-pi/4, pi/4] for x + y; odd selects -1/tan.
double kernelTan(double x, double y, bool odd) {
    // tan = sin / cos on the reduced range; both kernels are accurate there.
    const double s = kernelSin(x, y);
    const double c = kernelCos(x, y);
    return odd ? -c / s : s / c;
}

// Reduces x to r = x - n pi/2 with r = hi + lo, |r| <= about pi/4; returns n.
long long reduce(double x, double& hi, double& lo) {
    const double invPio2 = 6.36619772367581382433e-01;
    const double pio2_1 = 1.57079632673412561417e+00;
    const double pio2_1t = 6.07710050650619224932e-11;
    const double pio2_2 = 6.07710050630396597660e-11;
    const double pio2_2t = 2.02226624879595063154e-21;
    const double pio2_3 = 2.02226624871116645580e-21;
    const double pio2_3t = 8.47842766036889956997e-32;
    if (std::fabs(x) <= 7.85398163397448278999e-01) {
        hi = x;
        lo = 0.0;
        return 0;
    }
    const double fn = std::nearbyint(x * invPio2);
    // Three-step Cody-Waite reduction: each product fn * pio2_k is exact
    // for |fn| below 2^20 and keeps the error far below one ulp beyond.
    double r = x - fn * pio2_1;
    double w = fn * pio2_1t;
    double y0 = r - w;
    double t = r;
    w = fn * pio2_2;
    r = t - w;
    w = fn * pio2_2t - ((t - r) - w);
    y0 = r - w;
    t = r;
    w = fn * pio2_3;
    r = t - w;
    w = fn * pio2_3t - ((t - r) - w);
    y0 = r - w;
    hi = y0;
    lo = (r - y0) - w;
    return (long long)fn;
}

}  // namespace

namespace PortableMath {

double sin(double x) {
    if (!std::isfinite(x)) return x - x;
    double hi, lo;
    const long long n = reduce(x, hi, lo);
    switch (n & 3) {
        case 0:
            return kernelSin(hi, lo);
        case 1:
            return kernelCos(hi, lo);
        case 2:
            return -kernelSin(hi, lo);
        default:
            return -kernelCos(hi, lo);
    }
}

double cos(double x) {
    if (!std::isfinite(x)) return x - x;
    double hi, lo;
    const long long n = reduce(x, hi, lo);
    switch (n & 3) {
        case 0:
            return kernelCos(hi, lo);
        case 1:
            return -kernelSin(hi, lo);
        case 2:
            return -kernelCos(hi, lo);
        default:
            return kernelSin(hi, lo);
    }
}

double tan(double x) {
    if (!std::isfinite(x)) return x - x;
    double hi, lo;
    const long long n = reduce(x, hi, lo);
    return kernelTan(hi, lo, (n & 1) != 0);
}

double acos(double x) {
    if (std::isnan(x)) return x;
    if (x >= 1.0) return 0.0;
    if (x <= -1.0) return kPi;
    if (std::fabs(x) < 0.5) {
        if (std::fabs(x) < 0x1p-57) return kPio2Hi + kPio2Lo;
        const double r = asinRatio(x * x);
        return kPio2Hi - (x - (kPio2Lo - x * r));
    }
    if (x < 0.0) {
        const double z = (1.0 + x) * 0.5;
        const double s = std::sqrt(z);
        const double w = asinRatio(z) * s - kPio2Lo;
        return kPi - 2.0 * (s + w);
    }
    const double z = (1.0 - x) * 0.5;
    const double s = std::sqrt(z);
    // s split into a head with a zero low word and a correction c.
    const double df = std::bit_cast<double>(std::bit_cast<std::uint64_t>(s) & 0xffffffff00000000ull);
    const double c = (z - df * df) / (s + df);
    const double w = asinRatio(z) * s + c;
    return 2.0 * (df + w);
}

double asin(double x) {
    if (std::isnan(x)) return x;
    if (x >= 1.0) return kPio2Hi + kPio2Lo;
    if (x <= -1.0) return -(kPio2Hi + kPio2Lo);
    const double ax = std::fabs(x);
    double r;
    if (ax < 0.5) {
        if (ax < 0x1p-27) return x;
        r = ax + ax * asinRatio(ax * ax);
    } else {
        // asin(a) = pi/2 - 2 asin(sqrt((1 - a) / 2)).
        const double z = (1.0 - ax) * 0.5;
        const double s = std::sqrt(z);
        const double df = std::bit_cast<double>(std::bit_cast<std::uint64_t>(s) & 0xffffffff00000000ull);
        const double c = (z - df * df) / (s + df);
        const double p = 2.0 * s * asinRatio(z) - (kPio2Lo - 2.0 * c);
        const double q = 0.5 * kPio2Hi - 2.0 * df;
        r = 0.5 * kPio2Hi - (p - q);
    }
    return x < 0.0 ? -r : r;
}

double atan(double x) {
    static const double atanHi[] = {4.63647609000806093515e-01, 7.85398163397448278999e-01, 9.82793723247329054082e-01,
                                    1.57079632679489655800e+00};
    static const double atanLo[] = {2.26987774529616870924e-17, 3.06161699786838301793e-17, 1.39033110312309984516e-17,
                                    6.12323399573676603587e-17};
    const double aT[] = {3.33333333333329318027e-01,  -1.99999999998764832476e-01, 1.42857142725034663711e-01,
                         -1.11111104054623557880e-01, 9.09088713343650656196e-02,  -7.69187620504482999495e-02,
                         6.66107313738753120669e-02,  -5.83357013379057348645e-02, 4.97687799461593236017e-02,
                         -3.65315727442169155270e-02, 1.62858201153657823623e-02};
    if (std::isnan(x)) return x;
    const bool negative = x < 0.0;
    double ax = std::fabs(x);
    if (ax >= 0x1p66) return negative ? -(atanHi[3] + atanLo[3]) : atanHi[3] + atanLo[3];
    int id;
    if (ax < 0.4375) {
        if (ax < 0x1p-29) return x;
        id = -1;
    } else if (ax < 1.1875) {
        if (ax < 0.6875) {
            id = 0;
            ax = (2.0 * ax - 1.0) / (2.0 + ax);
        } else {
            id = 1;
            ax = (ax - 1.0) / (ax + 1.0);
        }
    } else if (ax < 2.4375) {
        id = 2;
        ax = (ax - 1.5) / (1.0 + 1.5 * ax);
    } else {
        id = 3;
        ax = -1.0 / ax;
    }
    const double z = ax * ax;
    const double w = z * z;
    const double s1 = z * (aT[0] + w * (aT[2] + w * (aT[4] + w * (aT[6] + w * (aT[8] + w * aT[10])))));
    const double s2 = w * (aT[1] + w * (aT[3] + w * (aT[5] + w * (aT[7] + w * aT[9]))));
    double r;
    if (id < 0)
        r = ax - ax * (s1 + s2);
    else
        r = atanHi[id] - ((ax * (s1 + s2) - atanLo[id]) - ax);
    return negative ? -r : r;
}

double atan2(double y, double x) {
    if (std::isnan(x) || std::isnan(y)) return x + y;
    if (y == 0.0) {
        if (std::signbit(x)) return std::signbit(y) ? -kPi : kPi;
        return y;
    }
    if (x == 0.0) return y > 0.0 ? kPio2Hi : -kPio2Hi;
    if (std::isinf(x) || std::isinf(y)) {
        const double a = std::isinf(x) ? (std::isinf(y) ? 0.78539816339744830962 : 0.0) : kPio2Hi;
        double r = a;
        if (std::isinf(x) && x < 0.0) r = std::isinf(y) ? 3.0 * 0.78539816339744830962 : kPi;
        return y < 0.0 ? -r : r;
    }
    double r;
    const double ratio = std::fabs(y / x);
    if (x > 0.0) {
        r = atan(ratio);
    } else {
        r = kPi - atan(ratio);
    }
    return y < 0.0 ? -r : r;
}

}  // namespace PortableMath
