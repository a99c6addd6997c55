#pragma once

// Audio capture authorisation as the platform reports it.
enum class MicrophoneAuthorization { notDetermined, restricted, denied, authorized };

// Reads the permissions the application depends on. Never prompts the user.
class PermissionProbe
{
public:
    virtual ~PermissionProbe();
    virtual MicrophoneAuthorization microphoneAuthorization() = 0;
    // Global key events can be read and synthesised, and focused text can be read.
    virtual bool accessibilityTrusted() = 0;
    // The screen can be captured.
    virtual bool screenRecordingTrusted() = 0;
};
