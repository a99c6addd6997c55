#include "platform/linux/TerminalPrompt.h"

#include <cstdio>
#include <string>
#include <termios.h>
#include <unistd.h>

QString TerminalPrompt::readSecret(const QString &prompt)
{
    const bool terminal = isatty(STDIN_FILENO);
    termios saved{};
    bool silenced = false;
    if (terminal) {
        std::fputs(prompt.toLocal8Bit().constData(), stderr);
        std::fflush(stderr);
        if (tcgetattr(STDIN_FILENO, &saved) == 0) {
            termios silent = saved;
            silent.c_lflag &= ~tcflag_t(ECHO);
            silenced = tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent) == 0;
        }
    }
    std::string line;
    for (int c = std::getchar(); c != EOF && c != '\n'; c = std::getchar())
        line.push_back(char(c));
    if (silenced) {
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &saved);
        std::fputs("\n", stderr); // the Enter the user typed was not echoed
    }
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    return QString::fromLocal8Bit(line.data(), qsizetype(line.size()));
}
