// SPDX-License-Identifier: MIT
// Sizes in twips: 15 twips are one logical pixel.
#pragma once

namespace controls {

inline constexpr int kTwipsPerPixel = 15;

// To the nearest pixel.
constexpr int twips(int value) {
    return (value + (value < 0 ? -7 : 7)) / kTwipsPerPixel;
}
constexpr int toTwips(int pixels) {
    return pixels * kTwipsPerPixel;
}

}  // namespace controls
