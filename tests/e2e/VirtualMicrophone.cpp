#include "VirtualMicrophone.h"

#include <QProcess>
#include <QStandardPaths>

VirtualMicrophone::VirtualMicrophone(QString folder) : m_folder(std::move(folder)) {}

bool VirtualMicrophone::isAvailable()
{
    return !QStandardPaths::findExecutable(QStringLiteral("flite")).isEmpty() &&
           !QStandardPaths::findExecutable(QStringLiteral("paplay")).isEmpty();
}

bool VirtualMicrophone::say(const QString &sentence)
{
    const QString file = QStringLiteral("%1/speech-%2.wav").arg(m_folder).arg(++m_count);
    if (QProcess::execute(QStringLiteral("flite"),
                          {QStringLiteral("-voice"), QStringLiteral("slt"), QStringLiteral("-t"),
                           sentence, QStringLiteral("-o"), file}) != 0)
        return false;
    return QProcess::execute(QStringLiteral("paplay"),
                             {QStringLiteral("-d"), QStringLiteral("micfeed"), file}) == 0;
}
