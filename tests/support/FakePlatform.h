#pragma once

// Fakes of the platform interfaces and the backend health check, for unit tests.

#include "app/BackendHealth.h"
#include "platform/LoginItem.h"
#include "platform/PermissionProbe.h"
#include "platform/SystemLog.h"

#include <QStringList>

struct FakePermissions : PermissionProbe
{
    MicrophoneAuthorization microphoneAuthorization() override { return microphone; }
    bool accessibilityTrusted() override { return accessibility; }
    bool screenRecordingTrusted() override { return screenRecording; }

    MicrophoneAuthorization microphone = MicrophoneAuthorization::authorized;
    bool accessibility = true;
    bool screenRecording = true;
};

struct FakeHealth : BackendHealth
{
    QCoro::Task<bool> health() override
    {
        ++checks;
        co_return reachable;
    }
    bool reachable = true;
    int checks = 0;
};

struct FakeLoginItem : LoginItem
{
    bool isEnabled() const override { return enabled; }
    bool setEnabled(bool on, QString &error) override
    {
        if (failure) {
            error = *failure;
            return false;
        }
        enabled = on;
        return true;
    }
    bool enabled = false;
    std::optional<QString> failure;
};

struct RecordingSystemLog : SystemLog
{
    void write(const QString &message) override { lines << message; }
    QStringList lines;
};
