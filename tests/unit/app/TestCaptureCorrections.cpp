// A capture session and the correction feature: a fix of the pasted text is offered and
// logged, and the next capture puts the watch and the banner away. The banner is a Qt Quick
// window, so this runs apart from the session's other tests.
#include "CaptureRig.h"

class TestCaptureCorrections : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // The offscreen platform has no OpenGL.
    void initTestCase() { QQuickWindow::setGraphicsApi(QSGRendererInterface::Software); }

    void fixOfThePastedTextIsOffered()
    {
        Rig rig;
        rig.dictate();
        // The user fixes a word of the pasted text in the field.
        rig.focus.focused->text = QStringLiteral("hello world");
        rig.scheduler.advance(CorrectionWatcher::baselineDelay);
        rig.take();
        rig.focus.focused->text = QStringLiteral("hello word");
        rig.scheduler.advance(CorrectionWatcher::pollInterval);
        rig.scheduler.advance(CorrectionWatcher::settleDelay + CorrectionWatcher::pollInterval);
        QCOMPARE(rig.log(), QStringList{"✎ Correction detected: \"world\" → \"word\""});
        // The clipboard went back to what it held before (nothing) a second after the paste.
        QCOMPARE(rig.take(), (QStringList{"clipboard ", "prompt.show word"}));
        QVERIFY(rig.corrections.prompt().isVisible());
    }

    // A new capture ends the watch for corrections of the last one and puts its banner away.
    void newCaptureEndsTheCorrectionWatch()
    {
        Rig rig;
        rig.focus.focused->text = QStringLiteral("teh cat");
        rig.dictate();
        rig.scheduler.advance(CorrectionWatcher::baselineDelay);
        QVERIFY(rig.corrections.watcher().isWatching());
        rig.corrections.prompt().show("teh", "the");
        rig.take();
        rig.controller.startRecording(CaptureMode::paste, false);
        QVERIFY(!rig.corrections.watcher().isWatching());
        QVERIFY(!rig.corrections.prompt().isVisible());
    }
};

QTEST_MAIN(TestCaptureCorrections)
#include "TestCaptureCorrections.moc"
