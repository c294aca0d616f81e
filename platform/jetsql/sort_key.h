// SPDX-License-Identifier: MIT
// Values as bytes that memcmp orders as the dialect does: Null first, texts in the order of the file.
//
// Keys of several values follow each other. All values of one place in a key are of one type; whole numbers, Single,
// Double and dates may meet, as each of them is written as a double.
#pragma once

#include "jet/values/value.h"

namespace jetsql {

void appendSortKey(const jet::Value& v, bool descending, jet::Bytes& key);

}  // namespace jetsql
