// SPDX-License-Identifier: MIT
// The hourglass pointer while a long operation runs.
#pragma once

#include <QtGlobal>

namespace controls {

// Shows the hourglass from construction to destruction; may be nested.
class Hourglass {
    Q_DISABLE_COPY_MOVE(Hourglass)
 public:
    Hourglass();
    ~Hourglass();

 private:
    int m_generation;
};

// The normal pointer at once, however many hourglasses are alive; those do nothing more.
void restorePointer();
[[nodiscard]] bool hourglassShown();

}  // namespace controls
