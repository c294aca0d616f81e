// SPDX-License-Identifier: MIT
// Opening a file, and where its password comes from.
#include <algorithm>
#include <charconv>
#include <cstdio>
#include <fstream>
#include <optional>

#include "budget_schema.h"
#include "commands.h"
#include "jet/values/error.h"
#include "terminal.h"

namespace {

std::string firstLine(std::string text) {
    text.resize(std::min(text.find_first_of("\r\n"), text.size()));
    return text;
}

std::optional<std::string> givenPassword(const Arguments& arguments) {
    if (arguments.has("password") + arguments.has("password-file") + arguments.has("password-fd") > 1)
        throw UsageError("more than one password is given");
    if (arguments.has("password-file")) {
        std::ifstream file(arguments.value("password-file"), std::ios::binary);
        std::string line;
        if (!file || (!std::getline(file, line) && !file.eof()))
            throw jet::Error(jet::Errc::FileNotFound, arguments.value("password-file"));
        return firstLine(line);
    }
    if (arguments.has("password-fd")) {
        const std::string text = arguments.value("password-fd");
        int number = -1;
        const auto end = std::from_chars(text.data(), text.data() + text.size(), number);
        const auto line = end.ec == std::errc() && end.ptr == text.data() + text.size() && number >= 0
                              ? readLine(number)
                              : std::nullopt;
        if (!line)
            throw UsageError("nothing can be read from the descriptor " + text);
        return firstLine(*line);
    }
    if (arguments.has("password"))
        return arguments.value("password");
    return std::nullopt;
}

// `used` takes the password that fits.
std::shared_ptr<jet::Database> openWith(const Arguments& arguments, Access access, const std::string& otherwise,
                                        std::string* used = nullptr) {
    jet::OpenOptions options;
    std::string password;
    std::string& fits = used != nullptr ? *used : password;
    options.readOnly = access == Access::Read;
    const std::optional<std::string> given = givenPassword(arguments);
    options.password = fits = given.value_or(otherwise);
    try {
        return jet::Database::open(arguments.names.front(), options);
    } catch (const jet::Error& e) {
        if (e.code() != jet::Errc::WrongPassword || given)
            throw;
        const auto typed = askPassword(arguments.names.front());
        if (!typed)
            throw;
        options.password = fits = *typed;
    }
    return jet::Database::open(arguments.names.front(), options);
}

}  // namespace

std::shared_ptr<jet::Database> openFile(const Arguments& arguments, Access access) {
    return openWith(arguments, access, {});
}

std::shared_ptr<jet::Database> openBudget(const Arguments& arguments, Access access) {
    return openWith(arguments, access, jet::budgetTemplate().password);
}

std::string passwordOf(const Arguments& arguments) {
    std::string password;
    openWith(arguments, Access::Read, {}, &password);
    return password;
}

std::string budgetPasswordOf(const Arguments& arguments) {
    std::string password;
    openWith(arguments, Access::Read, jet::budgetTemplate().password, &password);
    return password;
}
