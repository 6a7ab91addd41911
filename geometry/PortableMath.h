#pragma once

#include "support/OmbrelApi.h"

// Trigonometric functions built only from + - * / and sqrt, so that every
// build computes the same bits (the 32-bit C library evaluates these on the
// x87 unit and differs from the 64-bit one in the last bit). Accuracy is
// within a couple of units in the last place of double over the ranges the
// geometry code uses; arguments of sin, cos and tan are reduced with a
// three-part pi/2, exact for |x| below about 1e9.
namespace PortableMath {

OMBREL_API double sin(double x);
OMBREL_API double cos(double x);
OMBREL_API double tan(double x);
// Arc cosine in [0, pi]; inputs outside [-1, 1] are clamped, a NaN gives a NaN.
OMBREL_API double acos(double x);
// Arc sine in [-pi/2, pi/2]; inputs outside [-1, 1] are clamped.
OMBREL_API double asin(double x);
// Arc tangent in [-pi/2, pi/2].
OMBREL_API double atan(double x);
// Angle of the point (x, y) in [-pi, pi]; atan2(0, 0) is 0 (with the sign
// rules of the C function for signed zeros of y).
OMBREL_API double atan2(double y, double x);

}  // namespace PortableMath
