// SPDX-License-Identifier: MIT
// errorOf runs something and tells which numbered error it raised, 0 for none.
#pragma once

#include "vbrt/error.h"

template <typename Action>
long errorOf(Action action) {
    try {
        action();
    } catch (const vbrt::Error& error) {
        return error.number();
    }
    return 0;
}
