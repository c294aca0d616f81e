// SPDX-License-Identifier: MIT
// MsgBox: a modal message with an icon and buttons, and the answer.
//
// The text is shown as it is, never as rich text; a carriage return, a line feed or both start a new line. Esc and the
// window's close button answer Cancel, else No, else the only button there is. Tests answer through
// controls/testing.h, without a window.
#pragma once

#include <QString>

class QWidget;

namespace controls {

enum class MsgIcon { None = 0, Critical = 16, Question = 32, Exclamation = 48, Information = 64 };
enum class MsgButtons { Ok = 0, OkCancel = 1, YesNoCancel = 3, YesNo = 4 };
enum class MsgAnswer { Ok = 1, Cancel = 2, Yes = 6, No = 7 };

// The first button is the default one. Without a title the application's name is the title. Without a parent the box
// belongs to the active window.
MsgAnswer MsgBox(QWidget* parent, const QString& text, MsgIcon icon = MsgIcon::None,
                 MsgButtons buttons = MsgButtons::Ok, const QString& title = {});

}  // namespace controls
