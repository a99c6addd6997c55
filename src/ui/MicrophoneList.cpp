#include "ui/MicrophoneList.h"

#include "audio/AudioDevices.h"

#include <QVariantMap>

namespace {

QVariantMap option(const QString &uid, const QString &label, bool disconnected = false)
{
    return {{QStringLiteral("uid"), uid},
            {QStringLiteral("label"), label},
            {QStringLiteral("disconnected"), disconnected}};
}

} // namespace

MicrophoneList::MicrophoneList(QObject *parent) : QObject(parent)
{
    refresh();
}

void MicrophoneList::setSavedUID(const QString &uid)
{
    if (m_savedUID == uid)
        return;
    m_savedUID = uid;
    rebuild();
}

int MicrophoneList::selectedIndex() const
{
    for (qsizetype row = 0; row < m_options.size(); ++row) {
        if (m_options[row].toMap().value(QStringLiteral("uid")).toString() == m_savedUID)
            return int(row);
    }
    return 0;
}

void MicrophoneList::refresh()
{
    m_devices = AudioDevices::inputDevices();
    rebuild();
}

void MicrophoneList::rebuild()
{
    m_options = optionsFor(m_devices, m_savedUID);
    Q_EMIT optionsChanged();
}

QVariantList MicrophoneList::optionsFor(const QList<MicDevice> &devices, const QString &savedUID)
{
    QVariantList options{option(QString(), QStringLiteral("System Default"))};
    bool savedPresent = savedUID.isEmpty();
    for (const MicDevice &device : devices) {
        options.append(option(device.uid, device.name));
        savedPresent = savedPresent || device.uid == savedUID;
    }
    if (!savedPresent)
        options.append(option(savedUID, QStringLiteral("Saved device (disconnected)"), true));
    return options;
}
