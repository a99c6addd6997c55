// The Transcripts, Chat, Meetings and Dictionary pages of the real window, on the fake
// backend, at the window's smallest size.
#include "audio/WavEncoder.h"
#include "ui/Formats.h"
#include "ui/MainWindowState.h"
#include "window/MainWindowFixture.h"

#include <QClipboard>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QJsonArray>
#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QTest>

#include <cmath>
#include <vector>

namespace {

// A 440 Hz tone as 16-bit mono PCM WAV.
QByteArray toneWav(double seconds)
{
    constexpr int rate = 16000;
    std::vector<float> samples(size_t(seconds * rate));
    for (size_t i = 0; i < samples.size(); ++i)
        samples[i] = 0.2f * float(std::sin(2 * M_PI * 440.0 * double(i) / rate));
    return WavEncoder::encodeWAV(samples.data(), qsizetype(samples.size()), rate);
}

bool writeFile(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QString dueDate(const char *iso)
{
    return Formats::dueDate(QDateTime::fromString(QString::fromLatin1(iso), Qt::ISODate));
}

QJsonObject entry(const QString &id, const QString &text)
{
    return {{"id", id}, {"date", "2026-11-18T09:00:00Z"}, {"kind", "dictation"}, {"text", text}};
}

QJsonObject term(const QString &id, const QString &text)
{
    return {{"term", QJsonObject{{"id", id}, {"term", text}, {"variants", QJsonArray{}}}}};
}

} // namespace

class TestVoicePages : public QObject
{
    Q_OBJECT

    MainWindowFixture m_rig;

    QQuickItem *page() const { return m_rig.page(); }
    QQuickItem *text(const QString &text) const
    {
        return MainWindowFixture::findText(page(), text);
    }
    QQuickItem *item(const QString &name) const
    {
        return MainWindowFixture::findItem(page(), name);
    }
    QString shown() const { return MainWindowFixture::visibleTexts(page()).join(" | "); }

    void click(QQuickItem *target) const
    {
        QVERIFY(target);
        const QPointF centre = target->mapToScene({target->width() / 2, target->height() / 2});
        QTest::mouseClick(m_rig.window(), Qt::LeftButton, {}, centre.toPoint());
    }

    // QTest has no keyClicks for a QWindow.
    void type(const QString &text) const
    {
        for (const QChar c : text)
            QTest::keyClick(m_rig.window(), c.toLatin1());
    }

    int requests(const QByteArray &method, const QString &target) const
    {
        int count = 0;
        for (const FakeRequest &request : m_rig.server.requests())
            count += request.method == method && request.target == target;
        return count;
    }

    // Waits for the confirmation `name` to ask `question`, then answers it.
    bool answer(const QString &name, const QString &question, bool agree) const
    {
        // Closing may end the view that holds the dialog.
        QPointer<QObject> dialog = page()->findChild<QObject *>(name);
        if (!dialog || !QTest::qWaitFor([&] { return dialog->property("opened").toBool(); }))
            return false;
        if (dialog->property("title").toString() != question)
            return false;
        auto *footer = dialog->property("footer").value<QQuickItem *>();
        const QString button = agree ? dialog->property("confirmText").toString() : "Cancel";
        QQuickItem *target = MainWindowFixture::findText(footer, button);
        if (!target)
            return false;
        click(target);
        return QTest::qWaitFor([&] { return !dialog || !dialog->property("visible").toBool(); });
    }

private Q_SLOTS:
    void initTestCase()
    {
        // The store finds unsent recordings when it is made; the player finds m1's file.
        QVERIFY(writeFile(m_rig.dir.filePath("recordings/unsent/meeting-old.wav"), toneWav(1)));
        QVERIFY(writeFile(m_rig.dir.filePath("recordings/m1.wav"), toneWav(3)));
        m_rig.server.on("DELETE", "/meetings/m2").json({{"ok", true}});
        m_rig.server.on("DELETE", "/dictionary/d2").json({{"ok", true}});
        QVERIFY(m_rig.start());
        m_rig.window()->resize(900, 600);
        QTRY_COMPARE(m_rig.window()->width(), 900);
    }

    void transcriptsListNewestFirstWithCopy()
    {
        QVERIFY(m_rig.showPage(2));
        QVERIFY(text("Transcripts"));
        QVERIFY(text("Everything you've dictated into other apps."));
        QTRY_VERIFY2(text("Let's move the design review to Thursday afternoon."),
                     qPrintable(shown()));
        QVERIFY(text("Remember to water the plants before leaving."));
        QVERIFY(text(dueDate("2026-11-21T16:42:00Z")));
        QVERIFY(!text("No transcriptions yet"));
        QQuickItem *newest = text("Let's move the design review to Thursday afternoon.");
        QQuickItem *oldest = text("Remember to water the plants before leaving.");
        QVERIFY(newest->mapToScene({}).y() < oldest->mapToScene({}).y());

        QGuiApplication::clipboard()->clear();
        click(item("copyTranscript"));
        QTRY_COMPARE(QGuiApplication::clipboard()->text(),
                     QStringLiteral("Let's move the design review to Thursday afternoon."));
        m_rig.saveScreenshot("voice-transcripts");
    }

    void chatIsAFreshPageOfItsOwnScope()
    {
        QPointer<QQuickItem> transcripts = m_rig.showPage(2);
        QVERIFY(transcripts);
        QQuickItem *chat = m_rig.showPage(4);
        QVERIFY(chat);
        QVERIFY(chat != transcripts.data());
        QCOMPARE(chat->property("scope").toString(), QStringLiteral("chat"));
        QVERIFY(text("Chat"));
        QVERIFY(text("Your voice questions and AI replies."));
        QTRY_VERIFY2(text("What is the capital of Australia?"), qPrintable(shown()));
        QVERIFY(text("The capital of Australia is Canberra."));
        QVERIFY(!text("Let's move the design review to Thursday afternoon."));
        // Questions sit on the right, answers on the left.
        QQuickItem *question = item("questionBubble");
        QQuickItem *answer = item("answerBubble");
        QVERIFY(question && answer);
        QVERIFY(question->mapToScene({}).x() > answer->mapToScene({}).x());
        m_rig.saveScreenshot("voice-chat");
    }

    void historyScrollsByKeyboard()
    {
        QJsonArray many;
        for (int i = 40; i > 0; --i)
            many.append(entry(QString("n%1").arg(i), QString("Dictation number %1").arg(i)));
        m_rig.server.once("GET", "/history?scope=transcripts").json({{"entries", many}});
        m_rig.clock.advance(HistoryStore::minRefreshInterval + 1);
        QVERIFY(m_rig.showPage(2));
        QTRY_VERIFY(text("Dictation number 40"));
        QQuickItem *list = item("historyList");
        QVERIFY(list);
        list->forceActiveFocus();
        QVERIFY(list->hasActiveFocus());

        QTest::keyClick(m_rig.window(), Qt::Key_PageDown);
        const qreal afterPage = list->property("contentY").toReal();
        QVERIFY(afterPage > list->height() / 2);
        QTest::keyClick(m_rig.window(), Qt::Key_Up);
        QVERIFY(list->property("contentY").toReal() < afterPage);
        QTest::keyClick(m_rig.window(), Qt::Key_End);
        QTRY_VERIFY(list->property("atYEnd").toBool());
        QTRY_VERIFY(text("Dictation number 1"));
        QTest::keyClick(m_rig.window(), Qt::Key_Home);
        QTRY_VERIFY(list->property("atYBeginning").toBool());
    }

    void clearingAsksFirst()
    {
        QVERIFY(m_rig.showPage(4));
        QTRY_VERIFY(text("What is the capital of Australia?"));
        click(item("clearHistory"));
        QVERIFY(answer("clearConfirm", "Clear chat history and the AI's memory?", false));
        QCOMPARE(requests("DELETE", "/history?scope=chat"), 0);
        QVERIFY(text("What is the capital of Australia?"));

        QVERIFY(m_rig.showPage(2));
        QTRY_VERIFY(text("Dictation number 40"));
        click(item("clearHistory"));
        QVERIFY(answer("clearConfirm", "Clear all transcripts?", true));
        QTRY_COMPARE(requests("DELETE", "/history?scope=transcripts"), 1);
        QTRY_VERIFY(text("No transcriptions yet"));
        QVERIFY(text("Dictated text will appear here."));
        QVERIFY(!text("Dictation number 40"));
        QVERIFY(!item("clearHistory")->isEnabled());
    }

    void emptyChat()
    {
        m_rig.server.once("GET", "/history?scope=chat").json({{"entries", QJsonArray{}}});
        m_rig.clock.advance(HistoryStore::minRefreshInterval + 1);
        QVERIFY(m_rig.showPage(4));
        QTRY_VERIFY2(
            text("Hold your Ask AI hotkey and speak — the conversation will show up here."),
            qPrintable(shown()));
        QVERIFY(!text("What is the capital of Australia?"));
        QVERIFY(!text("No transcriptions yet"));
    }

    void meetingsListAndRecordButton()
    {
        QVERIFY(m_rig.showPage(5));
        QVERIFY(text("Meetings"));
        QVERIFY(text("Record your mic and the computer's audio, then get AI notes."));
        QVERIFY(text("Tap the mic to start. You can play audio and speak at the same time."));
        QTRY_VERIFY2(text("Weekly product sync"), qPrintable(shown()));
        QVERIFY(text(Formats::day(QDateTime::fromString("2026-11-21T15:00:00Z", Qt::ISODate))));
        QVERIFY(text("31:00"));
        QVERIFY(text("Quick call"));
        QVERIFY(text("0:42"));
        QVERIFY(!text("Record one above to get AI notes."));

        QSignalSpy toggled(&MainWindowState::shared(), &MainWindowState::meetingToggleRequested);
        click(item("recordButton"));
        QCOMPARE(toggled.count(), 1);
    }

    void meetingDetailPlaysAndShowsSpeakers()
    {
        QVERIFY(m_rig.showPage(5));
        QTRY_VERIFY(text("Weekly product sync"));
        // Enter opens the current meeting, the first when the list takes the focus.
        item("meetingList")->forceActiveFocus();
        QTest::keyClick(m_rig.window(), Qt::Key_Return);
        QTRY_VERIFY(item("meetingDetail"));
        QQuickItem *detail = item("meetingDetail");
        QVERIFY(!item("meetingList")->isVisible());
        QCOMPARE(item("meetingTitle")->property("text").toString(),
                 QStringLiteral("Weekly product sync"));
        QVERIFY2(text("- Beta ships Friday\n- Ada writes the release notes"), qPrintable(shown()));
        QVERIFY(text("Speaker 1"));
        QVERIFY(text("Shall we ship on Friday?"));
        QVERIFY(text("Speaker 2"));
        QVERIFY(text("Yes, the beta is ready."));
        QVERIFY(!text("We agreed to ship the beta on Friday.")); // the segments say it
        QVERIFY(!text("The recording is not on this computer."));

        QPointer<QObject> player = detail->findChild<QObject *>("meetingPlayer");
        QVERIFY(player);
        QQuickItem *play = item("playButton");
        QVERIFY(play->isEnabled());
        click(play);
        QTRY_VERIFY(player->property("isPlaying").toBool());
        QCOMPARE(play->property("text").toString(), QStringLiteral("Stop"));
        m_rig.saveScreenshot("voice-meeting-detail");
        click(play);
        QTRY_VERIFY(!player->property("isPlaying").toBool());
        QCOMPARE(play->property("text").toString(), QStringLiteral("Play"));

        // Leaving (Escape) while it plays stops it.
        click(play);
        QTRY_VERIFY(player->property("isPlaying").toBool());
        QTest::keyClick(m_rig.window(), Qt::Key_Escape);
        QTRY_VERIFY(!player || !player->property("isPlaying").toBool());
        QTRY_VERIFY(item("meetingList")->isVisible());
        QVERIFY(text("Quick call"));
    }

    void meetingWithoutNotesAndDeleting()
    {
        QVERIFY(m_rig.showPage(5));
        QTRY_VERIFY(text("Quick call"));
        click(item("meeting-m2"));
        QTRY_VERIFY(item("meetingDetail"));
        QVERIFY2(text("No notes were generated for this meeting."), qPrintable(shown()));
        QVERIFY(text("No transcript is available for this meeting."));
        QVERIFY(text("The recording is not on this computer."));
        QVERIFY(!item("playButton")->isEnabled());
        m_rig.saveScreenshot("voice-meeting-empty");

        click(item("deleteMeeting"));
        QVERIFY(answer("deleteMeetingConfirm", "Delete this meeting?", true));
        QTRY_COMPARE(requests("DELETE", "/meetings/m2"), 1);
        QTRY_VERIFY(item("meetingList")->isVisible());
        QTRY_VERIFY(!text("Quick call"));
        QVERIFY(text("Weekly product sync"));
    }

    void unsentRecordingRetriesAndDeletes()
    {
        QVERIFY(m_rig.showPage(5));
        QVERIFY2(text("meeting-old.wav"), qPrintable(shown()));
        QVERIFY(text("Retry upload"));

        // The backend refuses: the error shows and the recording stays.
        click(item("retryUpload"));
        QTRY_VERIFY(requests("POST", "/uploads/presign") == 1);
        QTRY_VERIFY(item("loadError")->isVisible());
        QVERIFY(item("loadError")->property("text").toString().contains("404"));
        QVERIFY(text("meeting-old.wav"));
        QCOMPARE(m_rig.meetings->unsentRecordings().size(), 1);

        click(item("deleteUnsent"));
        QVERIFY(answer("deleteUnsentConfirm", "Delete this recording?", true));
        QTRY_VERIFY(!item("unsentCard")->isVisible());
        QVERIFY(!QFile::exists(m_rig.dir.filePath("recordings/unsent/meeting-old.wav")));
    }

    void recordingShowsTimeThenAFailedUpload()
    {
        QVERIFY(m_rig.showPage(5));
        try {
            m_rig.recorder->start();
        } catch (const std::exception &error) {
            QFAIL(error.what());
        }
        QTRY_COMPARE(item("recordButton")->property("text").toString(),
                     QStringLiteral("Stop recording"));
        QVERIFY(text("0:00"));
        QVERIFY(item("recordingLevel")->isVisible());
        QVERIFY(!text("Tap the mic to start. You can play audio and speak at the same time."));
        m_rig.scheduler.advance(61.3);
        QVERIFY(text("1:01"));
        m_rig.saveScreenshot("voice-meetings-recording");

        m_rig.server.once("POST", "/uploads/presign").status(503).json({{"error", "Busy"}});
        QTest::qWait(500); // real audio takes real time to arrive
        m_rig.recorder->stopAndProcess();
        QTRY_VERIFY2(text("Backend error 503: Busy"), qPrintable(shown()));
        QVERIFY(text("Tap the mic to start. You can play audio and speak at the same time."));
        QCOMPARE(item("recordButton")->property("text").toString(),
                 QStringLiteral("Start recording"));
        // Nothing is lost: the recording waits to be sent again.
        QTRY_VERIFY(item("unsentCard")->isVisible());
        QCOMPARE(m_rig.meetings->unsentRecordings().size(), 1);
        m_rig.saveScreenshot("voice-meetings-failed");
        m_rig.meetings->deleteUnsent(m_rig.meetings->unsentRecordings().first());
    }

    void dictionaryAddsAndRemoves()
    {
        QVERIFY(m_rig.showPage(10));
        QVERIFY(text("Dictionary"));
        QVERIFY(text("Names and terms to spell correctly in your dictation."));
        QVERIFY(text("Add names the transcriber gets wrong — or accept the suggestion after you "
                     "correct one."));
        QTRY_VERIFY2(text("Kubernetes"), qPrintable(shown()));
        QVERIFY(text("Heard as: cooper netties"));
        QVERIFY(text("Siobhan"));
        QVERIFY(text("Heard as: shivawn, chevonne"));
        m_rig.saveScreenshot("voice-dictionary");

        QQuickItem *field = item("termField");
        QCOMPARE(field->property("placeholderText").toString(),
                 QStringLiteral("Add a name or term…"));
        m_rig.server.once("POST", "/dictionary").json(term("d3", "Nguyen"));
        m_rig.server.once("POST", "/dictionary").json(term("d4", "Ada"));
        field->forceActiveFocus();
        type("  Nguyen ");
        QTest::keyClick(m_rig.window(), Qt::Key_Return);
        QTRY_COMPARE(requests("POST", "/dictionary"), 1);
        QCOMPARE(m_rig.server.lastRequest().json().value("term").toString(),
                 QStringLiteral("Nguyen"));
        QCOMPARE(field->property("text").toString(), QString());
        QTRY_VERIFY(text("Nguyen"));

        // A blank entry is ignored; the button adds like Enter does.
        type("   ");
        QTest::keyClick(m_rig.window(), Qt::Key_Return);
        QVERIFY(!item("addTerm")->isEnabled());
        type("Ada");
        click(item("addTerm"));
        QTRY_COMPARE(requests("POST", "/dictionary"), 2);
        QCOMPARE(m_rig.server.lastRequest().json().value("term").toString(), QStringLiteral("Ada"));
        QTRY_VERIFY(text("Ada"));

        click(MainWindowFixture::findItem(item("term-d2"), "removeTerm"));
        QTRY_VERIFY(!text("Siobhan"));
        QTRY_COMPARE(requests("DELETE", "/dictionary/d2"), 1);
        QVERIFY(text("Kubernetes"));
    }
};

QTEST_MAIN(TestVoicePages)
#include "TestVoicePages.moc"
