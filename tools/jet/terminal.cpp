// SPDX-License-Identifier: MIT
#include "terminal.h"

#include <array>
#include <csignal>
#include <cstdio>

#ifdef _WIN32
#include <conio.h>
#include <io.h>
#else
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>
#endif

#ifdef _WIN32

bool isTerminal(int descriptor) {
    return _isatty(descriptor) != 0;
}

static int readByte(int descriptor, char& c) {
    return _read(descriptor, &c, 1);
}

std::optional<std::string> askPassword(const std::string& path) {
    if (!isTerminal(0) || !isTerminal(2))
        return std::nullopt;
    std::fprintf(stderr, "Password of %s: ", withoutControls(path).c_str());
    std::string line;
    for (int c = _getch(); c != '\r' && c != '\n' && c != EOF; c = _getch()) {
        if (c == '\b' && !line.empty())
            line.pop_back();
        else if (c != '\b')
            line += static_cast<char>(c);
    }
    std::fputc('\n', stderr);
    return line;
}

#else

bool isTerminal(int descriptor) {
    return ::isatty(descriptor) != 0;
}

static ssize_t readByte(int descriptor, char& c) {
    return ::read(descriptor, &c, 1);
}

// Who is interrupted while the terminal is silent leaves it as it was. A handler may call both of these functions.
static int silentTerminal = -1;
static termios terminalBefore;

static void restoreTerminal(int signal) {
    ::tcsetattr(silentTerminal, TCSANOW, &terminalBefore);
    ::raise(signal);  // which does what it would have done: SA_RESETHAND
}

static std::optional<std::string> readSilently(int terminal, const std::string& question) {
    static constexpr std::array<int, 4> kSignals = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};
    std::array<struct sigaction, kSignals.size()> actions{};
    silentTerminal = terminal;
    struct sigaction restoring {};
    restoring.sa_handler = restoreTerminal;
    restoring.sa_flags = static_cast<int>(SA_RESETHAND);
    for (std::size_t i = 0; i < kSignals.size(); ++i)
        if (::sigaction(kSignals[i], nullptr, &actions[i]) == 0 && actions[i].sa_handler != SIG_IGN)
            ::sigaction(kSignals[i], &restoring, nullptr);
    termios silent = terminalBefore;
    silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    ::tcsetattr(terminal, TCSAFLUSH, &silent);
    std::fputs(question.c_str(), stderr);  // now: what is typed before the flush is lost
    auto line = readLine(terminal);
    ::tcsetattr(terminal, TCSAFLUSH, &terminalBefore);
    for (std::size_t i = 0; i < kSignals.size(); ++i)
        ::sigaction(kSignals[i], &actions[i], nullptr);
    return line;
}

// Asks the terminal itself: standard input may hold the statements.
std::optional<std::string> askPassword(const std::string& path) {
    const int terminal = isTerminal(2) ? ::open("/dev/tty", O_RDWR | O_CLOEXEC) : -1;
    if (terminal < 0)
        return std::nullopt;
    if (::tcgetattr(terminal, &terminalBefore) != 0) {
        ::close(terminal);
        return std::nullopt;
    }
    const auto line = readSilently(terminal, "Password of " + withoutControls(path) + ": ");
    ::close(terminal);
    std::fputc('\n', stderr);
    return line;
}

#endif

std::optional<std::string> readLine(int descriptor) {
    std::string line;
    for (char c = 0; line.size() < 4096;) {
        const auto count = readByte(descriptor, c);
        if (count < 0)
            return std::nullopt;
        if (count == 0 || c == '\n')
            break;
        line += c;
    }
    return line;
}

std::string withoutControls(std::string_view text) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    std::string out;
    const auto escape = [&out](unsigned char c) {
        out += "\\x";
        out += kHex[c >> 4U];
        out += kHex[c & 15U];
    };
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        const auto next = i + 1 < text.size() ? static_cast<unsigned char>(text[i + 1]) : 0U;
        if ((c < 0x20 && c != '\n' && c != '\t') || c == 0x7F) {
            escape(c);
        } else if (c == 0xC2 && next >= 0x80 && next < 0xA0) {  // U+0080 to U+009F
            escape(static_cast<unsigned char>(next));
            ++i;
        } else {
            out += text[i];
        }
    }
    return out;
}
