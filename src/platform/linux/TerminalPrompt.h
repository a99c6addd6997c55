#pragma once

#include <QString>

// Asks on the controlling terminal, for the command-line tools.
class TerminalPrompt
{
public:
    // Shows `prompt` on stderr and reads one line from stdin without echoing it when
    // stdin is a terminal; from a pipe the line is read as it comes.
    static QString readSecret(const QString &prompt);
};
