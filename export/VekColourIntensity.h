#pragma once

#include <cstdint>

// The intensity in 0..1 that colour byte `byte` of channel `channel` (0 red,
// 1 green, 2 blue) of an MRGB word stands for, as the Vek colour reader
// converts it.
double vekColourIntensity(int channel, std::uint8_t byte);
