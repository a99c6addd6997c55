#pragma once

#include <QAudioDevice>
#include <QHashFunctions>
#include <QString>

// An input device a user may pick as the microphone. `uid` is what settings store:
// the sound server's name of the source, the same after a reboot.
struct MicDevice
{
    QAudioDevice id; // the handle the capture layer opens, valid while the device is there
    QString uid;
    QString name;

    friend bool operator==(const MicDevice &a, const MicDevice &b)
    {
        return a.id == b.id && a.uid == b.uid && a.name == b.name;
    }
    friend size_t qHash(const MicDevice &device, size_t seed = 0)
    {
        return qHashMulti(seed, device.id.id(), device.uid, device.name);
    }
};
