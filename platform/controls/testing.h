// SPDX-License-Identifier: MIT
// The seam of the dialogs: a test queues answers and reads back what a user would have been shown.
//
// While a DialogQueue is alive (one at a time) no message box, file dialog or printer dialog opens a window. A dialog
// that finds no answer is recorded as a problem, reported on stderr and cancelled (a box without Cancel answers No, or
// its only button). End a test with QCOMPARE(dialogs.problems(), QStringList()).
//
//     controls::DialogQueue dialogs;
//     dialogs.answer(controls::MsgAnswer::Yes);
//     frm.mnuEnvelopeDelete->trigger();
//     QCOMPARE(dialogs.takeMessage().title, "Confirm Envelope Delete");
#pragma once

#include "controls/message_box.h"

#include <QString>
#include <QStringList>
#include <deque>
#include <optional>

namespace controls {

struct ShownMessage {
    MsgIcon icon = MsgIcon::None;
    QString title;
    QString text;  // as given, "\r" included
    MsgButtons buttons = MsgButtons::Ok;
    MsgAnswer answer = MsgAnswer::Ok;
};

struct ShownDialog {
    enum class Kind { Open, Save, Printer };
    Kind kind = Kind::Open;
    // The properties at the moment of showing.
    QString title;
    QString fileName;
    QString filter;
    QString defaultExt;
    QString initDir;
    int filterIndex = 1;
    int flags = 0;
};

class DialogQueue {
    Q_DISABLE_COPY_MOVE(DialogQueue)
 public:
    DialogQueue();
    ~DialogQueue();

    void answer(MsgAnswer answer);     // of the next message box without one
    void choose(const QString& name);  // the name typed into the next file dialog; for a printer dialog "" is OK
    void cancel();                     // the next file or printer dialog

    // What was shown, oldest first; a default one and a problem when there is nothing left.
    ShownMessage takeMessage();
    ShownDialog takeDialog();
    [[nodiscard]] int messageCount() const;  // shown and not yet taken
    [[nodiscard]] int dialogCount() const;

    // Dialogs without an answer and answers nobody asked for, one line each.
    [[nodiscard]] QStringList problems() const;

    // For the dialogs themselves.
    static DialogQueue* current();
    MsgAnswer show(const ShownMessage& message);
    std::optional<QString> show(const ShownDialog& dialog);

 private:
    void addProblem(const QString& problem);

    std::deque<MsgAnswer> m_answers;
    std::deque<std::optional<QString>> m_choices;
    std::deque<ShownMessage> m_messages;
    std::deque<ShownDialog> m_dialogs;
    QStringList m_problems;
};

}  // namespace controls
