#include "platform/wayland/WlClipboard.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QProcess>
#include <QStandardPaths>

namespace {

QString tool(const QString &folder, const QString &name)
{
    return folder.isEmpty() ? QStandardPaths::findExecutable(name)
                            : QStandardPaths::findExecutable(name, {folder});
}

// Long enough for the tool to start and hand its text to the compositor.
constexpr int writeWaitMilliseconds = 2000;
const QString textType = QStringLiteral("text/plain;charset=utf-8");

} // namespace

WlClipboard::WlClipboard(const QString &toolFolder)
    : m_copy(tool(toolFolder, QStringLiteral("wl-copy"))),
      m_paste(tool(toolFolder, QStringLiteral("wl-paste")))
{
    if (m_copy.isEmpty() || m_paste.isEmpty())
        return;
    m_watch = std::make_unique<QProcess>();
    m_watch->setProcessChannelMode(QProcess::SeparateChannels);
    m_watch->setStandardErrorFile(QProcess::nullDevice());
    // The first line is the clipboard as it is at start, not a change.
    m_watch->start(m_paste, {QStringLiteral("--watch"), QStringLiteral("echo")});
    if (!m_watch->waitForStarted(writeWaitMilliseconds))
        m_watch.reset();
}

WlClipboard::~WlClipboard()
{
    if (m_watch) {
        m_watch->kill();
        m_watch->waitForFinished(1000);
    }
}

bool WlClipboard::toolsInstalled(const QString &toolFolder)
{
    return !tool(toolFolder, QStringLiteral("wl-copy")).isEmpty() &&
           !tool(toolFolder, QStringLiteral("wl-paste")).isEmpty();
}

bool WlClipboard::isReady() const
{
    return m_watch && m_watch->state() == QProcess::Running;
}

void WlClipboard::takeIn()
{
    if (!m_watch)
        return;
    while (m_watch->canReadLine()) {
        m_watch->readLine();
        ++m_changes;
    }
}

std::uint64_t WlClipboard::changeCount()
{
    if (m_watch)
        m_watch->waitForReadyRead(0);
    takeIn();
    return m_changes;
}

bool WlClipboard::waitForChange(std::uint64_t since, int milliseconds)
{
    QDeadlineTimer deadline(milliseconds);
    while (changeCount() <= since) {
        if (!m_watch || deadline.hasExpired() ||
            !m_watch->waitForReadyRead(int(deadline.remainingTime())))
            return changeCount() > since;
    }
    return true;
}

std::optional<QString> WlClipboard::text(int milliseconds)
{
    if (m_paste.isEmpty())
        return std::nullopt;
    QProcess paste;
    paste.setStandardErrorFile(QProcess::nullDevice());
    paste.start(m_paste,
                {QStringLiteral("--no-newline"), QStringLiteral("--type"), QStringLiteral("text")});
    if (!paste.waitForFinished(milliseconds)) {
        paste.kill();
        paste.waitForFinished(1000);
        return std::nullopt; // the owner did not answer
    }
    if (paste.exitStatus() != QProcess::NormalExit || paste.exitCode() != 0)
        return std::nullopt; // nothing on the clipboard, or nothing that is text
    return QString::fromUtf8(paste.readAllStandardOutput());
}

bool WlClipboard::setText(const QString &text)
{
    if (m_copy.isEmpty())
        return false;
    QProcess copy;
    // The tool forks a server that keeps the text until someone else copies: it must not
    // hold our pipes open.
    copy.setStandardOutputFile(QProcess::nullDevice());
    copy.setStandardErrorFile(QProcess::nullDevice());
    copy.start(m_copy, {QStringLiteral("--type"), textType});
    if (!copy.waitForStarted(writeWaitMilliseconds))
        return false;
    copy.write(text.toUtf8());
    copy.closeWriteChannel();
    return copy.waitForFinished(writeWaitMilliseconds) &&
           copy.exitStatus() == QProcess::NormalExit && copy.exitCode() == 0;
}

bool WlClipboard::clear()
{
    if (m_copy.isEmpty())
        return false;
    return QProcess::execute(m_copy, {QStringLiteral("--clear")}) == 0;
}
