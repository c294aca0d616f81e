// SPDX-License-Identifier: MIT
// clsListView fills a list view from a query: declare the columns, name the tag field, load.
//
//     clsListView lvw;
//     clsLvwColumn& col = lvw.AddColumn();        // once a column, in display order
//     col.strFieldName = "amount";
//     lvw.SetConnection(objDatabase->objCnn());
//     lvw.SetListView(lvwItems);
//     lvw.strSql = "select * from tbl_items";
//     lvw.strTagField = "id";
//     lvw.LoadListView();
//
// The list is always refilled whole. Its column headers are laid out by the form that owns it, in the same order.
// Nothing here shows an error or throws: a query that fails leaves the list as far as it was filled.
#pragma once

#include <QString>
#include <memory>
#include <vector>

#include "ado/connection.h"
#include "mainwindow/clsLvwColumn.h"

namespace controls {
class ListView;
}

class clsListView {
 public:
    short intSortKey = 0;  // carried for its user; loading does not read it
    QString strSql;        // the SELECT that gives the rows; empty loads nothing
    QString strTagField;   // the field whose value becomes each row's tag; empty for none

    clsListView() = default;
    clsListView(const clsListView&) = delete;
    clsListView& operator=(const clsListView&) = delete;

    void SetConnection(std::shared_ptr<ado::Connection> objConnection) { objCnn = std::move(objConnection); }
    void SetListView(controls::ListView* objListView) { objLvw = objListView; }
    // The descriptor is good as long as the object.
    clsLvwColumn& AddColumn();
    clsLvwColumn& Column(std::size_t intColumn) { return *colColumns.at(intColumn); }
    void LoadListView();

 private:
    void LoadRows(ado::Recordset& rst);

    std::shared_ptr<ado::Connection> objCnn;
    std::vector<std::unique_ptr<clsLvwColumn>> colColumns;
    controls::ListView* objLvw = nullptr;  // not owned
};
