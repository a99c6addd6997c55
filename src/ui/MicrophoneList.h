#pragma once

#include "audio/MicDevice.h"

#include <QObject>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

// The microphone choice of the settings page: "System Default", the inputs there are now,
// and the saved device when it is not plugged in, so the choice is never silently lost.
class MicrophoneList : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    // The saved micUID the options are built around.
    Q_PROPERTY(QString savedUID READ savedUID WRITE setSavedUID NOTIFY optionsChanged)
    // [{uid, label, disconnected}], "System Default" (uid "") first.
    Q_PROPERTY(QVariantList options READ options NOTIFY optionsChanged)
    // The row of savedUID in options.
    Q_PROPERTY(int selectedIndex READ selectedIndex NOTIFY optionsChanged)
public:
    explicit MicrophoneList(QObject *parent = nullptr);

    const QString &savedUID() const { return m_savedUID; }
    void setSavedUID(const QString &uid);
    const QVariantList &options() const { return m_options; }
    int selectedIndex() const;

    // Asks the sound server again.
    Q_INVOKABLE void refresh();

    static QVariantList optionsFor(const QList<MicDevice> &devices, const QString &savedUID);

Q_SIGNALS:
    void optionsChanged();

private:
    void rebuild();

    QList<MicDevice> m_devices;
    QString m_savedUID;
    QVariantList m_options;
};
