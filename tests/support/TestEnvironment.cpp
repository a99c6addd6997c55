#include "TestEnvironment.h"

#include <QtGlobal>

namespace TestEnvironment {

bool isCI()
{
    return qEnvironmentVariable("CI") == u"true";
}

QString missingServiceMessage(const QString &what)
{
    return QStringLiteral("needs %1 (start it with ./test.sh)").arg(what);
}

} // namespace TestEnvironment
