// SPDX-License-Identifier: MIT
#include "ledger/udtItem.h"

#include "db/basMain.h"
#include "vbrt/qstring.h"

namespace {

QString Quoted(const QString& strText) {
    return "'" + SqlQuote(strText) + "'";
}

QString DateSql(const QString& strDate) {
    return strDate.isEmpty() ? "null" : "'" + vbrt::qt::CStr(vbrt::qt::CDate(strDate)) + "'";
}

}  // namespace

QString ItemInsertSql(const udtItem& itm) {
    return "insert into tbl_items (amount, comment, envelope, item_date, item_num, payee, reconciled, transfer_id) "
           "values (" +
           vbrt::qt::CStr(itm.dblAmount) + ", " + Quoted(itm.strComment) + ", " + Quoted(itm.strEnvelope) + ", " +
           DateSql(itm.strItemDate) + ", " + Quoted(itm.strItemNum) + ", " + Quoted(itm.strPayee) + ", '" +
           itm.strReconciled + "', " + QString::number(itm.lngTransferId) + ")";
}

QString ItemUpdateSql(const udtItem& itm) {
    return "update tbl_items set amount = " + vbrt::qt::CStr(itm.dblAmount) + ", comment = " + Quoted(itm.strComment) +
           ", envelope = " + Quoted(itm.strEnvelope) + ", item_date = " + DateSql(itm.strItemDate) +
           ", item_num = " + Quoted(itm.strItemNum) + ", payee = " + Quoted(itm.strPayee) + ", reconciled = '" +
           itm.strReconciled + "', transfer_id = " + QString::number(itm.lngTransferId) +
           " where id = " + QString::number(itm.lngId);
}

udtItem PartnerOf(const udtItem& itm, int lngPartnerId) {
    udtItem itmPartner = itm;
    itmPartner.dblAmount = -itm.dblAmount;
    itmPartner.lngId = lngPartnerId;
    itmPartner.lngTransferId = itm.lngId;
    itmPartner.strEnvelope = itm.strTransferEnvelope;
    itmPartner.strTransferEnvelope = itm.strEnvelope;
    return itmPartner;
}
