// What a command line asks for, and the sign-in answer a URL on it may carry.
#include "app/LaunchRequest.h"
#include "app/SignInCallback.h"

#include <QTest>

class TestLaunchRequest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void parsesCommandLines()
    {
        using Kind = LaunchRequest::Kind;
        const struct
        {
            QStringList arguments;
            Kind kind;
            QString detail; // the URL or the unknown text
        } cases[] = {
            {{}, Kind::show, {}},
            {{"ovrin"}, Kind::show, {}},
            {{"ovrin", "toggle"}, Kind::toggle, {}},
            {{"ovrin", "ask-toggle"}, Kind::askToggle, {}},
            {{"ovrin", "screen-toggle"}, Kind::screenToggle, {}},
            {{"/usr/bin/ovrin", "ovrin://auth?token=T"}, Kind::url, "ovrin://auth?token=T"},
            {{"ovrin", "toggle", "now"}, Kind::unknown, "toggle now"},
            {{"ovrin", "/tmp/a:b"}, Kind::unknown, "/tmp/a:b"},
        };
        for (const auto &c : cases) {
            const LaunchRequest request = LaunchRequest::parse(c.arguments);
            QVERIFY2(request.kind() == c.kind, qPrintable(c.arguments.join(' ')));
            QCOMPARE(c.kind == Kind::url ? request.url().toString() : request.text(), c.detail);
        }
    }

    void parsesSignInCallbacks()
    {
        using Kind = SignInCallback::Kind;
        const struct
        {
            const char *url;
            Kind kind;
            QString value;
        } cases[] = {
            {"ovrin://auth?token=T", Kind::token, "T"},
            {"ovrin://auth?token=a+b/c%2Bd=", Kind::token, "a+b/c+d="},
            {"OVRIN://AUTH?token=x", Kind::token, "x"},
            {"ovrin://auth?error=access%20denied", Kind::error, "access denied"},
            {"ovrin://auth?error", Kind::error, {}},
            {"ovrin://auth?error=e&token=T", Kind::token, "T"},
            {"ovrin://auth?token=&error=e", Kind::error, "e"},
            {"ovrin://auth?token=", Kind::ignored, {}},
            {"https://auth?token=x", Kind::ignored, {}},
            {"ovrin://login?token=x", Kind::ignored, {}},
        };
        for (const auto &c : cases) {
            const SignInCallback callback = SignInCallback::parse(QUrl(QString::fromUtf8(c.url)));
            QVERIFY2(callback.kind() == c.kind, c.url);
            QCOMPARE(c.kind == Kind::error ? callback.error() : callback.token(), c.value);
        }
    }
};

QTEST_GUILESS_MAIN(TestLaunchRequest)
#include "TestLaunchRequest.moc"
