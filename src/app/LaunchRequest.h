#pragma once

#include <QString>
#include <QStringList>
#include <QUrl>

// What a command line asks of the running application, whether it started this process
// or was forwarded by a later launch.
class LaunchRequest
{
public:
    enum class Kind {
        show,         // no arguments: bring up the main window
        url,          // a URL with a scheme, as the desktop's scheme handler passes it
        toggle,       // start or stop hands-free dictation
        askToggle,    // start or stop an Ask AI recording
        screenToggle, // start or stop a Read screen recording
        unknown,
    };

    // The arguments as QCoreApplication::arguments() gives them, program name first.
    static LaunchRequest parse(const QStringList &arguments);

    Kind kind() const { return m_kind; }
    // Set for url.
    const QUrl &url() const { return m_url; }
    // Set for unknown: the arguments as given, for the error message.
    const QString &text() const { return m_text; }

private:
    Kind m_kind = Kind::show;
    QUrl m_url;
    QString m_text;
};
