#pragma once

#include <QString>

// The test session's microphone: whatever plays into the "micfeed" sink is what the
// default source "testmic" records. Speech is made with flite's slt voice, which the
// server's offline recogniser understands best.
class VirtualMicrophone
{
public:
    explicit VirtualMicrophone(QString folder);

    static bool isAvailable();
    // Speaks `sentence` into the microphone; returns once it has been played.
    bool say(const QString &sentence);

private:
    QString m_folder;
    int m_count = 0;
};
