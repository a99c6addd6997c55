#pragma once

#include "platform/ColorSchemeSource.h"

#include <QDBusConnection>

#include <optional>

class QDBusMessage;
class QDBusVariant;

// The desktop's light or dark preference as the freedesktop settings portal states it
// (org.freedesktop.appearance color-scheme), followed live through its SettingChanged signal.
// No session bus, no portal, or one that fails or does not answer: no preference, said once.
class PortalColorScheme : public ColorSchemeSource
{
    Q_OBJECT
public:
    // The window waits this long for the first answer, so it opens in the right colours; a
    // slower portal is still heard, later.
    static constexpr int defaultFirstReadTimeoutMs = 500;

    explicit PortalColorScheme(QDBusConnection bus = QDBusConnection::sessionBus(),
                               int firstReadTimeoutMs = defaultFirstReadTimeoutMs,
                               QObject *parent = nullptr);

    Scheme current() const override { return m_scheme; }

    // The setting's value, 0 none, 1 dark, 2 light (other numbers: none), however many
    // variants wrap it; nothing for a value that is no number.
    static std::optional<Scheme> schemeOf(QVariant value);

private Q_SLOTS:
    void settingChanged(const QString &settingNamespace, const QString &key,
                        const QDBusVariant &value);

private:
    QDBusMessage readCall(const QString &method) const;
    // Applies an answer to ReadOne or Read; false when the portal has no ReadOne.
    void takeReply(const QDBusMessage &reply);
    void readAsynchronously(const QString &method);
    void setScheme(Scheme scheme);
    void sayUnavailable(const QString &reason);

    QDBusConnection m_bus;
    Scheme m_scheme = Scheme::noPreference;
    bool m_heardChange = false;
    bool m_saidUnavailable = false;
};
