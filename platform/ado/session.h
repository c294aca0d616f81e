// SPDX-License-Identifier: MIT
// Session is what a connection shares with its recordsets: the open database, and who reads from it. Private to this
// layer.
#pragma once

#include <memory>
#include <vector>

#include "jet/database.h"

namespace ado {

class Recordset;

class Session {
 public:
    std::shared_ptr<jet::Database> database;
    bool shapes = false;                 // takes SHAPE statements as well
    std::vector<Recordset*> recordsets;  // each takes itself off the list
};

}  // namespace ado
