// The correction watcher against real applications: a Qt field in another process read
// over AT-SPI, edited with XTest keystrokes, and a GTK password field it must ignore.
#include "core/QtScheduler.h"
#include "core/SystemClock.h"
#include "correction/CorrectionWatcher.h"
#include "desktop/Paster.h"
#include "platform/linux/AtspiAccessibilitySwitch.h"
#include "platform/linux/AtspiFocusedTextReader.h"
#include "platform/linux/X11KeySynthesizer.h"
#include "support/TestEnvironment.h"
#include "support/XTestKeyboard.h"

#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QProcess>
#include <QTest>

#include <functional>
#include <list>

class TestCorrectionDesktop : public QObject
{
    Q_OBJECT

    SystemClock m_clock;
    QtScheduler m_scheduler;
    XTestKeyboard m_keyboard;
    AtspiFocusedTextReader m_reader;
    std::list<QProcess> m_programs;

    QProcess &launch(const QString &program, const QStringList &arguments)
    {
        QProcess &process = m_programs.emplace_back();
        process.start(program, arguments);
        return process;
    }
    // The focused element of another application once it matches; null after the
    // timeout. Each element is judged once: while focus moves, the accessible tree may
    // briefly still show the previous window as the active one.
    std::unique_ptr<TextElement> focusedWhen(const std::function<bool(TextElement &)> &matches,
                                             int timeoutMs = 10000)
    {
        QDeadlineTimer deadline(timeoutMs);
        do {
            std::unique_ptr<TextElement> element = m_reader.focusedElement();
            if (element && matches(*element))
                return element;
            QTest::qWait(50);
        } while (!deadline.hasExpired());
        return nullptr;
    }
    std::unique_ptr<TextElement> focusedField(const QString &text, int timeoutMs = 10000)
    {
        return focusedWhen([&](TextElement &element) { return element.value() == text; },
                           timeoutMs);
    }
    void type(const QList<QByteArray> &keysyms)
    {
        for (const QByteArray &keysym : keysyms) {
            const bool upper = keysym.size() == 1 && keysym != keysym.toLower();
            if (upper)
                m_keyboard.press("Shift_L");
            m_keyboard.tap(upper ? keysym.toLower() : keysym);
            if (upper)
                m_keyboard.release("Shift_L");
        }
    }

private Q_SLOTS:
    void initTestCase()
    {
        OVRIN_REQUIRE_SERVICE(m_keyboard.isOpen(), "an X server with XTEST");
        OVRIN_REQUIRE_SERVICE(AtspiAccessibilitySwitch().isOn().has_value(), "the AT-SPI bus");
    }

    void cleanup()
    {
        for (QProcess &process : m_programs) {
            process.kill();
            process.waitForFinished();
        }
        m_programs.clear();
    }

    void replacedWordOfAPaste()
    {
        launch(QStringLiteral(TEXTFIELD_BINARY), {QString(), "0", "0"});
        QVERIFY(focusedField(QString()));
        X11KeySynthesizer keys;
        Paster paster(keys, m_scheduler);
        const QString text = QStringLiteral("please call jon");
        paster.paste(text);
        const std::unique_ptr<TextElement> field = focusedField(text, 5000);
        QVERIFY(field);

        CorrectionWatcher watcher(m_reader, m_clock, m_scheduler);
        QStringList reports;
        QObject::connect(&watcher, &CorrectionWatcher::correctionFound,
                         [&](const QString &heard, const QString &corrected) {
                             reports << heard + u'|' + corrected;
                         });
        watcher.start(text);
        QTRY_VERIFY(watcher.isWatching());
        type({"BackSpace", "BackSpace", "BackSpace", "J", "o", "h", "n", "comma"});
        QElapsedTimer sinceTyping;
        sinceTyping.start();
        QTRY_COMPARE_WITH_TIMEOUT(reports, QStringList{"jon|John"}, 6000);
        QVERIFY(sinceTyping.elapsed() >= 1000 * CorrectionWatcher::settleDelay - 100);
        QCOMPARE(field->value(), std::optional<QString>("please call John,"));
    }

    void elementStaysTheOneOfTheBaseline()
    {
        QProcess &first = launch(QStringLiteral(TEXTFIELD_BINARY), {"first field", "0", "0"});
        const std::unique_ptr<TextElement> element = focusedField("first field");
        QVERIFY(element && !element->isSecret());

        launch(QStringLiteral(TEXTFIELD_BINARY), {"second field", "0", "0"});
        QVERIFY(focusedField("second field"));
        QCOMPARE(element->value(), std::optional<QString>("first field"));

        first.kill();
        first.waitForFinished();
        QTRY_COMPARE(element->value(), std::nullopt); // its application is gone
    }

    void passwordFieldIsNeverWatched()
    {
        // Debian's interpreter, where the GTK bindings are installed.
        launch(QStringLiteral("/usr/bin/python3"),
               {QStringLiteral(GTK_PASSWORD_SCRIPT), QStringLiteral("hunter two")});
        const std::unique_ptr<TextElement> element =
            focusedWhen([](TextElement &element) { return element.isSecret(); });
        QVERIFY(element);
        QCOMPARE(element->value(), std::nullopt);

        CorrectionWatcher watcher(m_reader, m_clock, m_scheduler);
        watcher.start(QStringLiteral("hunter two"));
        QTest::qWait(int(1000 * CorrectionWatcher::baselineDelay) + 300);
        QVERIFY(!watcher.isWatching());
    }

    // Last: it switches the session's accessibility off for a moment.
    void accessibilitySwitch()
    {
        AtspiAccessibilitySwitch session;
        QVERIFY(session.setOn(false));
        QCOMPARE(session.isOn(), std::optional(false));
        QCOMPARE(session.switchOn(), AccessibilitySwitch::Outcome::switchedOn);
        QCOMPARE(session.isOn(), std::optional(true));
        QCOMPARE(session.switchOn(), AccessibilitySwitch::Outcome::alreadyOn);
    }
};

QTEST_MAIN(TestCorrectionDesktop)
#include "TestCorrectionDesktop.moc"
