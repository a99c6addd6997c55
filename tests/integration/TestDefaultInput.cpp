// The default microphone on the test session's PulseAudio: the input chosen as the default
// in Sound settings (here with pactl) is what "System Default" records from.
#include "audio/AudioDevices.h"
#include "platform/linux/PulseSoundServer.h"
#include "support/TestEnvironment.h"

#include <QMediaDevices>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

namespace {

QByteArray pactl(const QStringList &arguments)
{
    QProcess process;
    process.start(QStringLiteral("pactl"), arguments);
    process.waitForFinished(5000);
    return process.readAllStandardOutput().trimmed();
}

bool listed(const QByteArray &id)
{
    const QList<QAudioDevice> inputs = QMediaDevices::audioInputs();
    return std::any_of(inputs.begin(), inputs.end(),
                       [&id](const QAudioDevice &device) { return device.id() == id; });
}

QByteArray defaultId()
{
    const std::optional<QAudioDevice> device = AudioDevices::defaultInputDeviceID();
    return device ? device->id() : QByteArray("(none)");
}

} // namespace

class TestDefaultInput : public QObject
{
    Q_OBJECT

    PulseSoundServer m_server;
    QByteArray m_original;
    QList<QByteArray> m_modules;

private Q_SLOTS:
    void initTestCase()
    {
        const std::optional<QByteArray> current = m_server.defaultInputId();
        OVRIN_REQUIRE_SERVICE(current && !QStandardPaths::findExecutable("pactl").isEmpty(),
                              "PulseAudio and pactl");
        m_original = *current;
        AudioDevices::setSoundServer(&m_server);
    }

    void cleanupTestCase()
    {
        AudioDevices::setSoundServer(nullptr);
        if (!m_original.isEmpty())
            pactl({"set-default-source", m_original});
        for (const QByteArray &module : m_modules)
            pactl({"unload-module", module});
    }

    void followsSoundSettings()
    {
        // A second microphone, listed after the first: the audio layer's own default.
        m_modules << pactl({"load-module", "module-null-sink", "sink_name=otherspeaker"});
        m_modules << pactl({"load-module", "module-remap-source", "source_name=othermic",
                            "master=otherspeaker.monitor",
                            "source_properties=device.description=OtherMic"});
        QTRY_VERIFY(listed("othermic"));
        pactl({"set-default-source", "othermic"});

        QCOMPARE(m_server.defaultInputId(), QByteArray("othermic"));
        QCOMPARE(defaultId(), QByteArray("othermic"));
        QCOMPARE(AudioDevices::preferredInput(QString())->id(), QByteArray("othermic"));
        // A microphone picked in our settings still wins over the default.
        QCOMPARE(AudioDevices::preferredInput(QString::fromUtf8(m_original))->id(), m_original);

        pactl({"set-default-source", m_original});
        QCOMPARE(defaultId(), m_original);
    }

    void unreachableServerLeavesTheAudioLayersDefault()
    {
        const QByteArray server = qgetenv("PULSE_SERVER");
        qputenv("PULSE_SERVER", "unix:/nonexistent/ovrin-test/native");
        const std::optional<QByteArray> answer = m_server.defaultInputId();
        const QByteArray fallback = defaultId();
        if (server.isNull())
            qunsetenv("PULSE_SERVER");
        else
            qputenv("PULSE_SERVER", server);
        QCOMPARE(answer, std::nullopt);
        QCOMPARE(fallback, QMediaDevices::defaultAudioInput().id());
    }
};

QTEST_GUILESS_MAIN(TestDefaultInput)
#include "TestDefaultInput.moc"
