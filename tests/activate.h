// SPDX-License-Identifier: MIT
// Makes a window the active one, at once and without a window manager; nullptr makes none active.
#pragma once

#include <QApplication>

inline void activate(QWidget* window) {
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED  // since Qt 6.5, where the advice, activateWindow(), waits for a window manager
        QApplication::setActiveWindow(window);
    QT_WARNING_POP
}
