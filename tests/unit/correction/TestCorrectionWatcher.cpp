#include "core/ManualClock.h"
#include "core/ManualScheduler.h"
#include "correction/CorrectionWatcher.h"
#include "support/FakePlatform.h"

#include <QTest>

#include <memory>

using Tok = CorrectionWatcher::Tok;
using Correction = CorrectionWatcher::Correction;

namespace {

using Field = FakeField;
using FakeFocus = FakeFocusedText;

QStringList keysOf(const QList<Tok> &tokens)
{
    QStringList keys;
    for (const Tok &tok : tokens)
        keys << tok.key;
    return keys;
}

QSet<QString> keySet(const QString &text)
{
    const QStringList keys = keysOf(CorrectionWatcher::tokens(text));
    return {keys.begin(), keys.end()};
}

} // namespace

class TestCorrectionWatcher : public QObject
{
    Q_OBJECT

    ManualClock m_clock;
    ManualScheduler m_scheduler{m_clock};
    FakeFocus m_focus;
    std::unique_ptr<CorrectionWatcher> m_watcher;
    QStringList m_reports;

    // The watcher with the field as it stands after the paste and the baseline taken.
    void watch(const QString &fieldText, const QString &inserted)
    {
        m_focus.focused->text = fieldText;
        m_watcher->start(inserted);
        m_scheduler.advance(CorrectionWatcher::baselineDelay);
        QVERIFY(m_watcher->isWatching());
    }
    void edit(const QString &text, double thenWait = 2.0)
    {
        m_focus.focused->text = text;
        m_scheduler.advance(thenWait);
    }

private Q_SLOTS:
    void init()
    {
        m_focus.focused = std::make_shared<Field>();
        m_reports.clear();
        m_watcher = std::make_unique<CorrectionWatcher>(m_focus, m_clock, m_scheduler);
        connect(m_watcher.get(), &CorrectionWatcher::correctionFound, this,
                [this](const QString &heard, const QString &corrected) {
                    QVERIFY(!m_watcher->isWatching()); // delivered after the watch has ended
                    m_reports << heard + u'|' + corrected;
                });
    }
    void cleanup()
    {
        m_watcher.reset();
        m_scheduler.advance(60); // drains whatever a test left pending
    }

    void tokens_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("raws");
        QTest::addColumn<QStringList>("keys");
        QTest::newRow("separators")
            << "a  b\nc\td " << QStringList{"a", "b", "c", "d"} << QStringList{"a", "b", "c", "d"};
        // No-break space and CR LF (one character, not a line feed) are not separators; a lone
        // CR neither, and none of them is punctuation.
        QTest::newRow("not separators") << QStringLiteral("a\u00A0b c\r\nd e\r f\n\r\ng")
                                        << QStringList{"a\u00A0b", "c\r\nd", "e\r", "f", "\r\ng"}
                                        << QStringList{"a\u00A0b", "c\r\nd", "e\r", "f", "\r\ng"};
        QTest::newRow("edge punctuation") << QStringLiteral("«Café,» ¿Qué? “don't” (x-ray) …")
                                          << QStringList{"«Café,»", "¿Qué?", "“don't”", "(x-ray)"}
                                          << QStringList{"café", "qué", "don't", "x-ray"};
        // Symbols are not punctuation and stay in the key; "#" is punctuation.
        QTest::newRow("symbols") << "$5 +1 #tag" << QStringList{"$5", "+1", "#tag"}
                                 << QStringList{"$5", "+1", "tag"};
        // Classified by code point, not by UTF-16 unit.
        QTest::newRow("outside the BMP")
            << QStringLiteral("\U00010100word\U00010100 hi😀")
            << QStringList{QStringLiteral("\U00010100word\U00010100"), QStringLiteral("hi😀")}
            << QStringList{"word", QStringLiteral("hi😀")};
        QTest::newRow("no key dropped")
            << "— ... \" word -" << QStringList{"word"} << QStringList{"word"};
        QTest::newRow("empty") << "" << QStringList{} << QStringList{};
    }

    void tokens()
    {
        QFETCH(QString, text);
        QFETCH(QStringList, raws);
        QFETCH(QStringList, keys);
        const QList<Tok> tokens = CorrectionWatcher::tokens(text);
        QStringList gotRaws;
        for (const Tok &tok : tokens)
            gotRaws << tok.raw;
        QCOMPARE(gotRaws, raws);
        QCOMPARE(keysOf(tokens), keys);
    }

    void detectCorrection_data()
    {
        QTest::addColumn<QString>("baseline");
        QTest::addColumn<QString>("inserted");
        QTest::addColumn<QString>("settled");
        QTest::addColumn<QString>("expected"); // "heard|corrected", empty for none
        // The whole baseline was dictated unless `inserted` says otherwise.
        const auto row = [](const char *name, const QString &baseline, const QString &settled,
                            const QString &expected, const char *inserted = nullptr) {
            QTest::newRow(name) << baseline << (inserted ? QString(inserted) : baseline) << settled
                                << expected;
        };
        row("example", "meet me at the cafe tomorrow", "meet me at the Café, tomorrow",
            "cafe|Café");
        row("one for two", "I cant come", "I can not come", "cant|can not");
        row("three for one", "in the big red house", "in the villa", "big red house|villa");
        row("four for one", "in the big red house", "in villa", "");
        row("one for four", "in the villa", "in the big red old house", "");
        row("case only", "I love Paris", "I love paris", "");
        row("edge punctuation only", "one word", "one word.", "");
        row("older text", "Dear jon, thanks", "Dear John, thanks", "", "thanks");
        // Membership is by key: an older word equal to a dictated one counts as dictated.
        row("word also in older text", "the plan: the cat", "A plan: the cat", "the|A", "the cat");
        row("no letter", "call me at five", "call me at 42", "");
        row("only deleted", "see you very soon", "see you soon", "");
        // The common suffix never reaches into the prefix.
        row("repeated word deleted", "the the end", "the end", "");
        row("corrected trimmed", "ask bob now", "ask (Rob) now", "bob|Rob");
    }

    void detectCorrection()
    {
        QFETCH(QString, baseline);
        QFETCH(QString, inserted);
        QFETCH(QString, settled);
        QFETCH(QString, expected);
        const std::optional<Correction> found = CorrectionWatcher::detectCorrection(
            keysOf(CorrectionWatcher::tokens(baseline)), keySet(inserted),
            CorrectionWatcher::tokens(settled));
        QCOMPARE(found ? found->heard + u'|' + found->corrected : QString(), expected);
    }

    void reportsOnceTheEditHasSettled()
    {
        // Pasted into a field that already held text of the user's own.
        watch("Notes: meet me at the cafe tomorrow", "meet me at the cafe tomorrow");
        m_focus.focused->text = "Notes: meet me at the Caf tomorrow";
        m_scheduler.advance(0.3); // seen at the next poll
        // Keystrokes keep restarting the settle wait.
        for (int i = 0; i < 5; ++i) {
            m_focus.focused->text += u'!';
            m_scheduler.advance(0.9);
        }
        m_focus.focused->text = "Notes: meet me at the Café, tomorrow";
        m_scheduler.advance(1.1);
        QVERIFY(m_reports.isEmpty());
        QVERIFY(m_watcher->isWatching());
        m_scheduler.advance(1.0);
        QCOMPARE(m_reports, QStringList{"cafe|Café"});
        QVERIFY(!m_watcher->isWatching());

        edit("Notes: meet me at the bar tomorrow"); // a second correction is not reported
        QCOMPARE(m_reports.size(), 1);
    }

    void keepsWatchingAfterEditsThatAreNoCorrection()
    {
        watch("please call jon today", "please call jon today");
        edit("please call jon today or tomorrow"); // only inserted
        edit("please call 42 today");              // no letter
        edit("please call jan today", 0.6);
        edit("please call jon today"); // back to the baseline: nothing to analyse
        QVERIFY(m_reports.isEmpty());
        QVERIFY(m_watcher->isWatching());
        edit("please call John today");
        QCOMPARE(m_reports, QStringList{"jon|John"});
    }

    void pollsTheElementOfTheBaseline()
    {
        watch("send it to jon", "send it to jon");
        auto original = m_focus.focused;
        m_focus.focused = std::make_shared<Field>(Field{.text = "send it to jon"});
        edit("send it to John"); // typed in a field focused later
        QVERIFY(m_reports.isEmpty());
        original->readable = false; // the application is busy: polls are skipped
        original->text = "send it to Jonathan";
        m_scheduler.advance(3);
        QVERIFY(m_reports.isEmpty() && m_watcher->isWatching());
        original->readable = true;
        m_scheduler.advance(2);
        QCOMPARE(m_reports, QStringList{"jon|Jonathan"});
    }

    void endsSilentlyAfterTheWindow()
    {
        watch("hello wold", "hello wold");
        m_scheduler.advance(CorrectionWatcher::watchWindow - 0.5);
        QVERIFY(m_watcher->isWatching());
        m_scheduler.advance(1.0);
        QVERIFY(!m_watcher->isWatching());
        edit("hello world");
        QVERIFY(m_reports.isEmpty());
        QCOMPARE(m_scheduler.pendingCount(), 0);
    }

    void nothingWatched_data()
    {
        QTest::addColumn<QString>("inserted");
        QTest::addColumn<int>("field"); // 0 none focused, 1 unreadable, 2 password, 3 plain
        QTest::newRow("punctuation only") << "..." << 3;
        QTest::newRow("no focused element") << "hello there" << 0;
        QTest::newRow("no value") << "hello there" << 1;
        QTest::newRow("password field") << "hello there" << 2;
    }

    void nothingWatched()
    {
        QFETCH(QString, inserted);
        QFETCH(int, field);
        m_focus.focused->text = "hello there";
        m_focus.focused->readable = field != 1;
        m_focus.focused->secret = field == 2;
        if (field == 0)
            m_focus.focused.reset();
        m_watcher->start(inserted);
        m_scheduler.advance(1);
        QVERIFY(!m_watcher->isWatching());
        QCOMPARE(m_scheduler.pendingCount(), 0);
    }

    void pendingBaselineOutlivesStopAndRestart()
    {
        m_focus.focused->text = "the cafe is open tomorow";
        m_watcher->start("the cafe is open");
        m_scheduler.advance(0.2);
        m_watcher->stop();
        QVERIFY(!m_watcher->isWatching());
        m_watcher->start("tomorow");
        m_scheduler.advance(0.3); // the first baseline fires despite stop() and start()
        QVERIFY(m_watcher->isWatching());
        m_scheduler.advance(0.2); // the second one replaces it with its own words
        edit("the Café is open tomorow");
        QVERIFY(m_reports.isEmpty());
        edit("the cafe is open tomorrow");
        QCOMPARE(m_reports, QStringList{"tomorow|tomorrow"});
    }
};

QTEST_GUILESS_MAIN(TestCorrectionWatcher)
#include "TestCorrectionWatcher.moc"
