// SPDX-License-Identifier: MIT
// What goes wrong with a help file: it cannot be read, it is damaged, or the page asked for is not in it.
#pragma once

#include <stdexcept>

namespace chm {

class Error : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

}  // namespace chm
