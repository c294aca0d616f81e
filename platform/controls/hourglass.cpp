// SPDX-License-Identifier: MIT
#include "controls/hourglass.h"

#include <QCursor>
#include <QGuiApplication>

namespace controls {

namespace {
int depth = 0;       // hourglasses alive in this generation
int generation = 0;  // one more with every restorePointer()
}  // namespace

Hourglass::Hourglass() : m_generation(generation) {
    if (depth++ == 0)
        QGuiApplication::setOverrideCursor(Qt::WaitCursor);
}

Hourglass::~Hourglass() {
    if (m_generation == generation && --depth == 0)
        QGuiApplication::restoreOverrideCursor();
}

void restorePointer() {
    ++generation;
    depth = 0;
    while (QGuiApplication::overrideCursor() != nullptr)
        QGuiApplication::restoreOverrideCursor();
}

bool hourglassShown() {
    return depth > 0;
}

}  // namespace controls
