// SPDX-License-Identifier: MIT
#include "help/frmAbout.h"

#include <QCoreApplication>
#include <QShortcut>

#include "db/basMain.h"
#include "help/basHelp.h"

frmAbout::frmAbout(QWidget* frmOwner) : QDialog(frmOwner), tmrAbout(new QTimer(this)) {
    setupUi(this);
    setWindowTitle("About " + QCoreApplication::applicationName());
    QFont fntTitle = lblTitle->font();
    fntTitle.setPointSizeF(fntTitle.pointSizeF() * 1.8);
    fntTitle.setBold(true);
    lblTitle->setFont(fntTitle);
    imgAbout2->hide();
    imgAbout3->hide();
    tmrAbout->setObjectName("tmrAbout");
    tmrAbout->setInterval(1000);
    connect(tmrAbout, &QTimer::timeout, this, &frmAbout::tmrAbout_Timer);
    connect(cmdOk, &QPushButton::clicked, this, &frmAbout::cmdOk_Click);
    connect(cmdLicense, &QPushButton::clicked, this, &frmAbout::cmdLicense_Click);
    layout()->setSizeConstraint(QLayout::SetFixedSize);
    connect(new QShortcut(Qt::Key_F1, this), &QShortcut::activated, this,
            [this] { ShowHelpTopic(this, "Overview.htm"); });
    tmrAbout->start();
}

void frmAbout::tmrAbout_Timer() try {
    imgAbout2->move(imgAbout1->pos());
    imgAbout3->move(imgAbout1->pos());
    // Asked of the picture itself and not of what is on the screen: the box may be covered or minimised.
    clsPicture* const imgPictures[] = {imgAbout1, imgAbout2, imgAbout3};
    int intShown = 0;
    while (intShown < 2 && imgPictures[intShown]->isHidden())
        ++intShown;
    imgPictures[intShown]->hide();
    imgPictures[(intShown + 1) % 3]->show();
} catch (...) {
    ShowError();
}

void frmAbout::cmdOk_Click() {
    accept();
}

void frmAbout::cmdLicense_Click() try {
    // Kept: the small first letter, though the page is named License.htm; page names have no letter case.
    ShowHelpTopic(this, "license.htm");
} catch (...) {
    ShowError();
}
