// SPDX-License-Identifier: MIT
// The named numbers that callers of Connection and Recordset use, with the values that the outside standard gives them.
#pragma once

namespace ado {

enum ObjectState { adStateClosed = 0, adStateOpen = 1 };
enum CursorLocation { adUseServer = 2, adUseClient = 3 };
enum CursorType { adOpenForwardOnly = 0, adOpenKeyset = 1, adOpenDynamic = 2, adOpenStatic = 3 };
enum LockType { adLockReadOnly = 1 };
enum ConnectPrompt { adPromptNever = 4 };
enum CommandType { adCmdUnspecified = -1, adCmdText = 1, adCmdTable = 2 };

}  // namespace ado
