#include "audio/AudioDevices.h"

#include "platform/SoundServer.h"

#include <QMediaDevices>

namespace {

SoundServer *soundServer = nullptr;

} // namespace

void AudioDevices::setSoundServer(SoundServer *server)
{
    soundServer = server;
}

QList<MicDevice> AudioDevices::inputDevices()
{
    QList<MicDevice> devices;
    for (const QAudioDevice &device : QMediaDevices::audioInputs()) {
        const QString uid = QString::fromUtf8(device.id());
        const QString name = device.description();
        if (uid.isEmpty() || name.isEmpty() || uid.endsWith(QLatin1String(".monitor")))
            continue;
        devices.append(MicDevice{device, uid, name});
    }
    return devices;
}

std::optional<QAudioDevice> AudioDevices::deviceID(const QString &uid)
{
    for (const MicDevice &device : inputDevices()) {
        if (device.uid == uid)
            return device.id;
    }
    return std::nullopt;
}

std::optional<QAudioDevice> AudioDevices::defaultInputDeviceID()
{
    // The audio layer's own default is merely the first input it lists, whatever the
    // user chose in Sound settings.
    if (const std::optional<QByteArray> id =
            soundServer ? soundServer->defaultInputId() : std::nullopt) {
        for (const QAudioDevice &device : QMediaDevices::audioInputs()) {
            if (device.id() == *id)
                return device;
        }
    }
    const QAudioDevice device = QMediaDevices::defaultAudioInput();
    if (device.isNull())
        return std::nullopt;
    return device;
}

std::optional<QAudioDevice> AudioDevices::preferredInput(const QString &micUID)
{
    if (!micUID.isEmpty()) {
        if (auto device = deviceID(micUID))
            return device;
    }
    return defaultInputDeviceID();
}
