// SPDX-License-Identifier: MIT
// What an empty budget file holds: two tables, their relationship, two stored queries, and the size and password that
// every budget has.
//
// The program never makes this schema itself: it copies a file that was built from this description.
#pragma once

#include "jet/maintenance/create.h"

namespace jet {

DatabaseSpec budgetTemplate();

}  // namespace jet
