#include "geometry/QMMatrixCode.h"

#include <bit>
#include <cmath>
#include <cstdint>

unsigned char QMMatrixCode::m_invSqrtTable[128];

namespace {

bool s_invSqrtTableReady = false;

// Exponent from the table rule, mantissa bits 15..22 from the table.
double invSqrtEstimate(float x) {
    QMMatrixCode::initInvSqrtTable();
    const std::uint32_t bits = std::bit_cast<std::uint32_t>(x);
    const std::uint32_t exponent = (bits >> 23) & 0xffu;
    const std::uint32_t index = (bits >> 17) & 127u;
    const std::uint32_t e = ((380u - exponent) >> 1) & 0xffu;
    const std::uint32_t y = (e << 23) | ((std::uint32_t)QMMatrixCode::m_invSqrtTable[index] << 15);
    return (double)std::bit_cast<float>(y);
}

}  // namespace

void QMMatrixCode::initInvSqrtTable() {
    if (s_invSqrtTableReady) return;
    for (std::uint32_t i = 0; i < 128; ++i) {
        const float f = std::bit_cast<float>((i << 17) | 0x3f000000u);
        const float r = (float)(1.0 / std::sqrt((double)f));
        m_invSqrtTable[i] = (unsigned char)(((std::bit_cast<std::uint32_t>(r) + 8192u) >> 15) & 0xffu);
    }
    // 1 / sqrt(1) = 1 has a zero mantissa, which the exponent rule puts one
    // binade too low; 255 gives the estimate just below the exact value.
    m_invSqrtTable[64] = 255;
    s_invSqrtTableReady = true;
}

float QMMatrixCode::invSqrt(float x) { return invSqrt(x, 1); }

float QMMatrixCode::invSqrt(float x, int n) {
    double y = invSqrtEstimate(x);
    const double dx = x;
    for (int i = 0; i < n; ++i) y = y * (3.0 - dx * y * y) * 0.5;
    return (float)y;
}

float QMMatrixCode::msqrt(float x) { return 1.0f / invSqrt(x); }

float QMMatrixCode::msqrt(float x, int n) { return 1.0f / invSqrt(x, n); }
