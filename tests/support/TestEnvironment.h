#pragma once

#include <QString>

// Tests that need a real service skip when it is missing, except under CI (CI=true),
// where a missing service is a failure: a green run must mean the service was exercised.
namespace TestEnvironment {

bool isCI();
// The reason a test gives when a service it needs is missing.
QString missingServiceMessage(const QString &what);

} // namespace TestEnvironment

#define OVRIN_REQUIRE_SERVICE(available, what)                                                     \
    do {                                                                                           \
        if (!(available)) {                                                                        \
            if (TestEnvironment::isCI())                                                           \
                QFAIL(qPrintable(TestEnvironment::missingServiceMessage(what)));                   \
            QSKIP(qPrintable(TestEnvironment::missingServiceMessage(what)));                       \
        }                                                                                          \
    } while (false)
