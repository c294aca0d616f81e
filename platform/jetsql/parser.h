// SPDX-License-Identifier: MIT
// Makes the syntax tree of one statement. Throws jetsql::Error: the syntax error of the clause that is wrong, or
// UnsupportedSql for what the dialect has and this engine has not.
#pragma once

#include <string>
#include <string_view>

#include "jetsql/ast.h"

namespace jetsql {

// Trees higher than this are refused.
inline constexpr int kMaxHeight = 200;

ast::Statement parse(std::string_view sql);
// A single expression, such as the default value of a column; a leading "=" is skipped.
ast::ExprPtr parseExpression(std::string_view text);

// A name as it must be written: in brackets unless it is a plain word.
std::string quotedName(const std::string& name);

}  // namespace jetsql
