#include "geometry/PortableMath.h"

#include "FloatBits.h"
#include "QMMatrixCodeTestUtil.h"

#include <cmath>

namespace {

// Distance in units in the last place between two finite doubles of the
// same sign.
double ulps(double a, double b) {
    if (a == b) return 0.0;
    return std::fabs(a - b) / std::fabs(std::nextafter(a, 2 * a) - a);
}

// Folds the bits of every result over a fixed input set; the value is the
// same in every build.
std::uint64_t checksum() {
    TestRng rng(2718);
    std::uint64_t h = 1469598103934665603ull;
    for (int n = 0; n < 2000; ++n) {
        const double x = rng.uniform(-10, 10);
        const double c = rng.uniform(-1, 1);
        const double r[6] = {PortableMath::sin(x),  PortableMath::cos(x),  PortableMath::tan(x),
                             PortableMath::acos(c), PortableMath::asin(c), PortableMath::atan2(x, c)};
        for (double v : r) h = (h ^ doubleBits(v)) * 1099511628211ull;
    }
    return h;
}

}  // namespace

TEST(PortableMath, CloseToTheCLibrary) {
    TestRng rng(1);
    for (int n = 0; n < 20000; ++n) {
        const double x = rng.uniform(-20, 20);
        const double c = rng.uniform(-1, 1);
        const double y = rng.uniform(-5, 5);
        EXPECT_LE(ulps(std::sin(x), PortableMath::sin(x)), 2.0) << x;
        EXPECT_LE(ulps(std::cos(x), PortableMath::cos(x)), 2.0) << x;
        EXPECT_LE(ulps(std::tan(x), PortableMath::tan(x)), 4.0) << x;
        EXPECT_LE(ulps(std::acos(c), PortableMath::acos(c)), 2.0) << c;
        EXPECT_LE(ulps(std::asin(c), PortableMath::asin(c)), 2.0) << c;
        EXPECT_LE(ulps(std::atan2(y, x), PortableMath::atan2(y, x)), 2.0) << y << " " << x;
    }
}

TEST(PortableMath, SpecialValues) {
    EXPECT_EQ(0.0, PortableMath::sin(0.0));
    EXPECT_EQ(1.0, PortableMath::cos(0.0));
    EXPECT_EQ(0.0, PortableMath::acos(1.5));
    EXPECT_EQ(M_PI, PortableMath::acos(-1.0));
    EXPECT_EQ(M_PI / 2, PortableMath::asin(1.0));
    EXPECT_EQ(0.0, PortableMath::atan2(0.0, 0.0));
    EXPECT_EQ(M_PI, PortableMath::atan2(0.0, -1.0));
    EXPECT_EQ(-M_PI / 2, PortableMath::atan2(-3.0, 0.0));
    EXPECT_TRUE(std::isnan(PortableMath::sin(INFINITY)));
}

TEST(PortableMath, SameBitsInEveryBuild) { EXPECT_EQ(8143670014136876910ull, checksum()); }
