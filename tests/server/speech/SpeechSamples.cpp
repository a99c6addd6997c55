#include "SpeechSamples.h"

#include "SphinxTranscriber.h"

#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QtDebug>

#include <algorithm>
#include <cctype>
#include <vector>

namespace SpeechSamples {

namespace {

bool run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit ||
        process.exitCode() != 0) {
        qWarning() << program << arguments << "failed:" << process.readAllStandardError();
        return false;
    }
    return true;
}

} // namespace

bool haveFlite()
{
    return !QStandardPaths::findExecutable(QStringLiteral("flite")).isEmpty();
}

bool haveSox()
{
    return !QStandardPaths::findExecutable(QStringLiteral("sox")).isEmpty();
}

bool haveModel()
{
    return SphinxTranscriber::available();
}

bool speak(const QString &text, const QString &path, const QString &voice)
{
    return run(QStringLiteral("flite"), {QStringLiteral("-voice"), voice, QStringLiteral("-t"),
                                         text, QStringLiteral("-o"), path});
}

bool sox(const QString &arguments)
{
    return run(QStringLiteral("sox"), arguments.split(u' ', Qt::SkipEmptyParts));
}

std::string readFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll().toStdString();
}

void writeFile(const QString &path, const std::string &bytes)
{
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write(bytes.data(), qint64(bytes.size()));
}

} // namespace SpeechSamples
