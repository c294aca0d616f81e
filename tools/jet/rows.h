// SPDX-License-Identifier: MIT
// Prints the rows of a table or query in one of the forms of the command line.
#pragma once

#include <string>
#include <vector>

#include "jet/values/value.h"
#include "output.h"

enum class Form {
    Plain,      // a line a row, values between tabs, names first
    Csv,        // RFC 4180; an empty text is "", Null is nothing
    JsonLines,  // an object a line
    Json,       // an array of objects
};

// Columns of one name are told apart in JSON: a, a (2).
template <typename Next>
void printRows(const std::vector<std::string>& names, Next&& next, Form form, Output& output) {
    std::vector<std::string> before;  // what stands before each value
    const bool json = form == Form::JsonLines || form == Form::Json;
    if (json) {
        before = jsonKeys(names);
    } else {
        for (std::size_t i = 0; i < names.size(); ++i) {
            before.emplace_back(i == 0 ? "" : form == Form::Csv ? "," : "\t");
            output.text() += before.back();
            if (form == Form::Csv)
                appendCsv(names[i], output.text());
            else
                appendPlain(names[i], output.text());
        }
        output.text() += form == Form::Csv ? "\r" : "";
        output.endLine();
    }
    if (form == Form::Json)
        output.text() += '[';
    jet::Row row;
    bool first = true;
    const auto finish = [&] {
        if (form == Form::Json)
            output.line(first ? "]" : "\n]");
    };
    try {
        while (next(row)) {
            if (form == Form::Json)
                output.text() += first ? "\n" : ",\n";
            first = false;
            for (std::size_t i = 0; i < before.size(); ++i) {
                output.text() += before[i];
                if (json)
                    appendJson(row[i], output.text());
                else if (form == Form::Csv)
                    appendCsv(row[i], output.text());
                else
                    appendPlain(row[i], output.text());
            }
            if (json)
                output.text() += before.empty() ? "{}" : "}";
            if (form == Form::Json) {
                output.flushIfEnough();
            } else {
                output.text() += form == Form::Csv ? "\r" : "";
                output.endLine();
            }
        }
    } catch (...) {
        finish();
        throw;
    }
    finish();
}

// The form that the options ask for.
struct Arguments;
Form formOf(const Arguments& arguments, Form otherwise);
