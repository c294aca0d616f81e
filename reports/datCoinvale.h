// SPDX-License-Identifier: MIT
// The report data source: what the reports' layouts were drawn against, one command a report. At run time every report
// gets rows of its own, so that the connection here is never opened and never asks for a login.
#pragma once

#include <memory>

#include "ado/connection.h"

class datCoinvale {
 public:
    datCoinvale();

    ado::Connection cnn;

    // A command's columns are those that the layout of its report may show.
    struct Command {
        const char* strName;
        const char* strSource;
    };
    static constexpr Command cmdCommands[] = {
        {"cmdItems", "select * from tbl_items"},
        {"cmdSummary", "select * from qry_summary"},
        {"cmdStuffer", "select * from qry_stuffer"},
        {"cmdEnvelope_Grouping", "SHAPE {SELECT * FROM `tbl_items`}  AS cmdEnvelope COMPUTE cmdEnvelope BY 'envelope'"},
    };
};

// Made once, at start-up.
extern std::unique_ptr<datCoinvale> objReportSource;
