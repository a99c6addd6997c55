#include "platform/wayland/GrimScreenGrabber.h"

#include <QProcess>
#include <QStandardPaths>

GrimScreenGrabber::GrimScreenGrabber(QString program)
    : m_program(program.isEmpty() ? QStandardPaths::findExecutable(QStringLiteral("grim"))
                                  : std::move(program))
{}

bool GrimScreenGrabber::installed()
{
    return !QStandardPaths::findExecutable(QStringLiteral("grim")).isEmpty();
}

void GrimScreenGrabber::grab(QRect area, Done done)
{
    if (m_program.isEmpty()) {
        done(std::nullopt, QStringLiteral("Screenshots need grim: sudo apt install grim"));
        return;
    }
    QStringList arguments{QStringLiteral("-c"), QStringLiteral("-t"), QStringLiteral("png")};
    if (!area.isEmpty())
        arguments << QStringLiteral("-g")
                  << QStringLiteral("%1,%2 %3x%4")
                         .arg(area.x())
                         .arg(area.y())
                         .arg(area.width())
                         .arg(area.height());
    arguments << QStringLiteral("-");
    QProcess grim;
    grim.start(m_program, arguments);
    if (!grim.waitForStarted(timeoutMilliseconds)) {
        done(std::nullopt, QStringLiteral("grim could not be started."));
        return;
    }
    if (!grim.waitForFinished(timeoutMilliseconds)) {
        grim.kill();
        grim.waitForFinished(1000);
        done(std::nullopt, QStringLiteral("The compositor did not answer for the screenshot."));
        return;
    }
    if (grim.exitStatus() != QProcess::NormalExit || grim.exitCode() != 0) {
        const QString why = QString::fromUtf8(grim.readAllStandardError()).trimmed();
        done(std::nullopt,
             QStringLiteral("The compositor gave no screenshot%1")
                 .arg(why.isEmpty() ? QStringLiteral(".") : QStringLiteral(": ") + why));
        return;
    }
    QImage picture = QImage::fromData(grim.readAllStandardOutput(), "PNG");
    if (picture.isNull())
        done(std::nullopt, QStringLiteral("The screenshot could not be read."));
    else
        done(std::move(picture), {});
}
