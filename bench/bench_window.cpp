// SPDX-License-Identifier: MIT
// The program itself on 100,000 items: from the start to the whole list painted, selecting, sorting, memory.
//
//   bench_window [ITEMS]      run with QT_QPA_PLATFORM=offscreen; files go into the current folder
#include <QApplication>
#include <QElapsedTimer>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "controls/list_view.h"
#include "controls/testing.h"
#include "controls/tree_view.h"
#include "db/basMain.h"
#include "mainwindow/frmMain.h"
#include "sample_budget.h"

namespace {

// Resident memory of the process in megabytes.
double memory() {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line))
        if (line.rfind("VmRSS:", 0) == 0)
            return std::atof(line.c_str() + 6) / 1024;
    return 0;
}

}  // namespace

int main(int argc, char* argv[]) {
    const int items = argc > 1 ? std::atoi(argv[1]) : 100000;
    const std::string path = (std::filesystem::current_path() / "bench.mdb").string();
    bench::printMachine(std::filesystem::current_path().string());
    bench::makeBudget(path, items, 50);

    QElapsedTimer timer;
    timer.start();
    const auto seconds = [&] { return static_cast<double>(timer.nsecsElapsed()) / 1e9; };
    QApplication app(argc, argv);
    strPassword = bench::kPassword;
    frmMain frm;
    frm.show();
    QApplication::processEvents();
    bench::print("to the empty window", seconds(), "s");

    controls::DialogQueue dialogs;
    dialogs.choose(QString::fromStdString(path));
    frm.findChild<QAction*>("mnuFileOpen")->trigger();
    auto* list = frm.findChild<controls::ListView*>("lvwItems");
    auto* tree = frm.findChild<controls::TreeView*>("tvwEnvelopes");
    QApplication::processEvents();
    bench::print("to the whole list on the screen", seconds(), "s");
    bench::print("rows in the list", list->rowCount(), "");
    bench::print("memory with the list shown", memory(), "MB");

    timer.restart();
    emit list->columnClicked(2);
    QApplication::processEvents();
    bench::print("sorting the list by payee", seconds(), "s");
    timer.restart();
    emit list->columnClicked(4);
    QApplication::processEvents();
    bench::print("sorting the list by amount", seconds(), "s");
    tree->selectNode(5);
    timer.restart();
    emit tree->nodeClick(5);
    QApplication::processEvents();
    bench::print("selecting an envelope", seconds(), "s");
    bench::print("items of that envelope", list->rowCount(), "");

    objDatabase.reset();
    std::filesystem::remove(path);
    return 0;
}
