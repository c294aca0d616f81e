// SPDX-License-Identifier: MIT
#include "db/basMain.h"

#include <QFile>

#include "ado/connection_string.h"
#include "ado/database_file.h"
#include "ado/errors.h"
#include "controls/hourglass.h"
#include "controls/message_box.h"

using namespace Qt::StringLiterals;

std::unique_ptr<clsDatabase> objDatabase;
QString strDatabasePath;
QString strDatabaseTitle;
QString strPassword;
QString strUserName;
bool blnDatabaseOpen = false;

QString SqlQuote(const QString& strText) {
    return QString(strText).replace(u'\'', u"''"_s);
}

QString TrimBlanks(const QString& strText) {
    qsizetype intStart = 0;
    qsizetype intEnd = strText.size();
    while (intStart < intEnd && strText[intStart] == u' ')
        ++intStart;
    while (intEnd > intStart && strText[intEnd - 1] == u' ')
        --intEnd;
    return strText.mid(intStart, intEnd - intStart);
}

void ExecuteChange(const QString& strSql, const QString& strWhat, Rows rows) {
    long lngCount = 0;
    objDatabase->objCnn()->Execute(strSql, &lngCount);
    if (lngCount == 0)
        throw vbrt::Error(intGone, "The " + strWhat.toStdString() + " is no longer in the budget.");
    if (lngCount > 1 && rows == Rows::One)
        throw vbrt::Error(intGone, "The " + strWhat.toStdString() + " was in the budget more than once.");
}

bool WriteResource(const QString& strName, const QString& strType, const QString& strPath) {
    QFile resource(u":/"_s + strType + u'/' + strName);
    if (!resource.open(QIODevice::ReadOnly))
        vbrt::raise(vbrt::kFileNotFound);
    ado::writeDatabaseFile(strPath, resource.readAll());
    return true;
}

QString ShapeConnectionString() {
    return u"Data Provider=Microsoft.Jet.OLEDB.4.0;Data Source="_s + ado::connectionValue(strDatabasePath) +
           u";Jet OLEDB:Database Password="_s + ado::connectionValue(strPassword) + u";Jet OLEDB:Engine Type=4;"_s;
}

void ShowError() {
    const vbrt::Error error = ado::currentError();
    controls::restorePointer();
    controls::MsgBox(nullptr,
                     "Error #: " + QString::number(error.number()) + "\r" + QString::fromStdString(error.description()),
                     controls::MsgIcon::Exclamation, controls::MsgButtons::Ok, "Error");
}
