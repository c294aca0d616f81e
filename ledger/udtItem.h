// SPDX-License-Identifier: MIT
// One item as the item dialog handles it, and the statements that write it.
#pragma once

#include <QString>

struct udtItem {
    double dblAmount = 0;   // dollars; positive deposit, negative payment
    int lngId = 0;          // 0 for an item not yet stored
    int lngTransferId = 0;  // id of the other half of a transfer, 0 when there is none
    QString strComment;
    QString strEnvelope;
    QString strItemDate;  // any text that CDate reads; empty for no date
    QString strItemNum;
    QString strPayee;
    QString strReconciled;        // "*" or empty
    QString strTransferEnvelope;  // envelope of the other half
    bool blnTransfer = false;     // there is another half: even the name of its envelope may be empty in an old budget
};

// Error 13 when the date is no date.
QString ItemInsertSql(const udtItem& itm);
QString ItemUpdateSql(const udtItem& itm);

// The other half of the transfer of `itm`: the opposite amount in the other envelope, everything else alike.
udtItem PartnerOf(const udtItem& itm, int lngPartnerId);
