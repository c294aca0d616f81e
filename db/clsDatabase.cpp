// SPDX-License-Identifier: MIT
#include "db/clsDatabase.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <optional>
#include <utility>

#include "ado/connection_string.h"
#include "ado/database_file.h"
#include "ado/jet_engine.h"
#include "controls/hourglass.h"
#include "controls/message_box.h"
#include "db/basMain.h"
#include "vbrt/error.h"

using namespace Qt::StringLiterals;

namespace {

// Without the engine type, which only a file to be written has.
QString JetConnectionString(const QString& strPath) {
    return u"Provider=Microsoft.Jet.OLEDB.4.0;Data Source="_s + ado::connectionValue(strPath) +
           u";Jet OLEDB:Database Password="_s + ado::connectionValue(strPassword) + u";"_s;
}

const QString kEngineType = u"Jet OLEDB:Engine Type=4;"_s;  // Jet 3.x

}  // namespace

clsDatabase::clsDatabase() {
    OpenDatabase();
}

clsDatabase::~clsDatabase() {
    CloseDatabase();
}

const std::shared_ptr<ado::Connection>& clsDatabase::objCnn() const {
    if (!m_objCnn)
        vbrt::raise(vbrt::kObjectNotSet);
    return m_objCnn;
}

void clsDatabase::OpenDatabase() {
    try {
        m_objCnn = std::make_shared<ado::Connection>();
        m_objCnn->Open(JetConnectionString(strDatabasePath) + kEngineType, QString(), QString(), -1);
        blnDatabaseOpen = true;
    } catch (...) {
        // Kept: one message for every failure, a wrong password or a missing file as well.
        controls::restorePointer();
        controls::MsgBox(nullptr, "Unrecognized database format '" + strDatabaseTitle + "'.",
                         controls::MsgIcon::Information);
        blnDatabaseOpen = false;
        strDatabasePath.clear();
        strDatabaseTitle.clear();
    }
}

// False after an error, which has then been shown.
bool clsDatabase::CloseDatabase() {
    try {
        blnDatabaseOpen = false;
        const auto objCnn = std::move(m_objCnn);
        if (objCnn && objCnn->State() == ado::adStateOpen)
            objCnn->Close();
        return true;
    } catch (...) {
        ShowError();
        return false;
    }
}

bool clsDatabase::CompactDatabase() {
    try {
        const controls::Hourglass hourglass;
        if (!CloseDatabase())
            return false;
        // Beside the program; where nobody may write there, as after an installation for all users, in a folder of its
        // own beside the budget, gone at the end.
        QString strTempFolder = QCoreApplication::applicationDirPath();
        std::optional<QTemporaryDir> dirOwn;
        if (!QFileInfo(strTempFolder).isWritable()) {
            dirOwn.emplace(QFileInfo(strDatabasePath).dir().filePath("Tempdata-"));
            if (!dirOwn->isValid())
                vbrt::raise(vbrt::kPathFileAccess);
            strTempFolder = dirOwn->path();
        }
        const QString strTempPath = QDir(strTempFolder).filePath("Tempdata.mdb");
        if (QFileInfo::exists(strTempPath))
            ado::deleteDatabaseFile(strTempPath);
        ado::JetEngine().CompactDatabase(JetConnectionString(strDatabasePath),
                                         JetConnectionString(strTempPath) + kEngineType);
        // Deleting the budget and renaming the copy are one step, so that the budget is never missing.
        ado::replaceDatabaseFile(strTempPath, strDatabasePath);
        OpenDatabase();
        return blnDatabaseOpen;
    } catch (...) {
        ShowError();
        return false;
    }
}

std::shared_ptr<ado::Recordset> clsDatabase::OpenRecordset(const QString& strSource, int intCursorType, int intLockType,
                                                           int intCmdType) {
    try {
        auto objRst = std::make_shared<ado::Recordset>();
        objRst->setCursorLocation(ado::adUseClient);
        objRst->Open(strSource, *objCnn(), intCursorType, intLockType, intCmdType);
        objRst->setActiveConnection(nullptr);
        return objRst;
    } catch (...) {
        ShowError();
        return {};
    }
}
