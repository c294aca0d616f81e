// SPDX-License-Identifier: MIT
#include "controls/testing.h"

#include <QDebug>
#include <cassert>

namespace controls {

namespace {

DialogQueue* currentQueue = nullptr;

MsgAnswer refusal(MsgButtons buttons) {
    switch (buttons) {
        case MsgButtons::YesNo:
            return MsgAnswer::No;
        case MsgButtons::OkCancel:
        case MsgButtons::YesNoCancel:
            return MsgAnswer::Cancel;
        case MsgButtons::Ok:
            break;
    }
    return MsgAnswer::Ok;
}

bool offers(MsgButtons buttons, MsgAnswer answer) {
    switch (buttons) {
        case MsgButtons::Ok:
            return answer == MsgAnswer::Ok;
        case MsgButtons::OkCancel:
            return answer == MsgAnswer::Ok || answer == MsgAnswer::Cancel;
        case MsgButtons::YesNo:
            return answer == MsgAnswer::Yes || answer == MsgAnswer::No;
        case MsgButtons::YesNoCancel:
            return answer != MsgAnswer::Ok;
    }
    return false;
}

template <typename T>
T takeFirst(std::deque<T>& queue) {
    T first = std::move(queue.front());
    queue.pop_front();
    return first;
}

}  // namespace

DialogQueue::DialogQueue() {
    assert(currentQueue == nullptr);
    currentQueue = this;
}

DialogQueue::~DialogQueue() {
    currentQueue = nullptr;
}

DialogQueue* DialogQueue::current() {
    return currentQueue;
}

void DialogQueue::answer(MsgAnswer answer) {
    m_answers.push_back(answer);
}
void DialogQueue::choose(const QString& name) {
    m_choices.emplace_back(name);
}
void DialogQueue::cancel() {
    m_choices.emplace_back(std::nullopt);
}

MsgAnswer DialogQueue::show(const ShownMessage& message) {
    ShownMessage& shown = m_messages.emplace_back(message);
    shown.answer = refusal(message.buttons);
    if (m_answers.empty()) {
        addProblem(QStringLiteral("message box without an answer: %1: %2").arg(message.title, message.text));
        return shown.answer;
    }
    const MsgAnswer answer = takeFirst(m_answers);
    if (offers(message.buttons, answer))
        shown.answer = answer;
    else
        addProblem(QStringLiteral("answer %1 is no button of the message box: %2: %3")
                       .arg(static_cast<int>(answer))
                       .arg(message.title, message.text));
    return shown.answer;
}

std::optional<QString> DialogQueue::show(const ShownDialog& dialog) {
    m_dialogs.push_back(dialog);
    if (m_choices.empty()) {
        addProblem(QStringLiteral("dialog without an answer: %1").arg(dialog.title));
        return std::nullopt;
    }
    return takeFirst(m_choices);
}

ShownMessage DialogQueue::takeMessage() {
    if (m_messages.empty()) {
        addProblem(QStringLiteral("no message box was shown"));
        return {};
    }
    return takeFirst(m_messages);
}

ShownDialog DialogQueue::takeDialog() {
    if (m_dialogs.empty()) {
        addProblem(QStringLiteral("no dialog was shown"));
        return {};
    }
    return takeFirst(m_dialogs);
}

int DialogQueue::messageCount() const {
    return static_cast<int>(m_messages.size());
}
int DialogQueue::dialogCount() const {
    return static_cast<int>(m_dialogs.size());
}

QStringList DialogQueue::problems() const {
    QStringList problems = m_problems;
    for (const MsgAnswer answer : m_answers)
        problems += QStringLiteral("no message box asked for answer %1").arg(static_cast<int>(answer));
    for (const auto& choice : m_choices)
        problems += QStringLiteral("no dialog asked for %1").arg(choice ? *choice : QStringLiteral("Cancel"));
    return problems;
}

void DialogQueue::addProblem(const QString& problem) {
    qCritical().noquote() << problem;
    m_problems += problem;
}

}  // namespace controls
