// SPDX-License-Identifier: MIT
// The same made-up budget as a .mdb and as an SQLite file, and what the benchmarks share: a clock and a printer.
#pragma once

#include <chrono>
#include <cstdio>
#include <functional>
#include <string>

namespace bench {

inline constexpr char kPassword[] = "kqlmz47";

// `items` rows in `envelopes` envelopes, the same in both files. Existing files are replaced.
void makeBudget(const std::string& path, int items, int envelopes);
void makeSqlite(const std::string& path, int items, int envelopes);

// Processor, cores, and where the files lie.
void printMachine(const std::string& folder);

// The best of `runs`, in seconds.
double best(int runs, const std::function<void()>& work);

// name : ours, peer, ratio
void printPair(const char* name, double ours, double peer, double scale, const char* unit);
void print(const char* name, double value, const char* unit);

}  // namespace bench
