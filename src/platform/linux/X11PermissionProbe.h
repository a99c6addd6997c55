#pragma once

#include "platform/PermissionProbe.h"

#include <QObject>

#include <memory>

// Linux meaning of the permissions: there is no per-application microphone permission
// (missing devices fail in the recorder), "Accessibility" is an X display with XInput 2.2
// and XTEST plus a reachable AT-SPI bus, and screen capture needs an X display.
class X11PermissionProbe : public QObject, public PermissionProbe
{
    Q_OBJECT
public:
    explicit X11PermissionProbe(QObject *parent = nullptr);
    ~X11PermissionProbe() override;

    MicrophoneAuthorization microphoneAuthorization() override;
    bool accessibilityTrusted() override;
    bool screenRecordingTrusted() override;

private:
    struct DisplayFacts
    {
        bool display = false;
        bool xinput22 = false;
        bool xtest = false;
    };
    DisplayFacts displayFacts();
    void checkAccessibilityBus();

    struct X11Connection;
    std::unique_ptr<X11Connection> m_x11;
    bool m_atspiBusReachable = false;
    bool m_busCheckRunning = false;
};
