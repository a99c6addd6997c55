#pragma once

#include "hotkeys/CaptureMode.h"

#include <QString>

// What the floating panel shows: the recording or processing pill of a capture mode,
// an answer card, an error card, or nothing.
class HUDMode
{
public:
    enum class Kind { recording, processing, response, error, hidden };

    static HUDMode recording(CaptureMode mode) { return HUDMode(Kind::recording, mode, {}); }
    static HUDMode processing(CaptureMode mode) { return HUDMode(Kind::processing, mode, {}); }
    static HUDMode response(QString text)
    {
        return HUDMode(Kind::response, CaptureMode::paste, std::move(text));
    }
    static HUDMode error(QString text)
    {
        return HUDMode(Kind::error, CaptureMode::paste, std::move(text));
    }
    static HUDMode hidden() { return HUDMode(Kind::hidden, CaptureMode::paste, {}); }

    Kind kind() const { return m_kind; }
    // Meaningful for recording and processing.
    CaptureMode captureMode() const { return m_mode; }
    // Meaningful for response and error.
    const QString &text() const { return m_text; }

    // A readable form for logs and test failures, such as "recording(ask)".
    QString toString() const;

    friend bool operator==(const HUDMode &, const HUDMode &) = default;

private:
    HUDMode(Kind kind, CaptureMode mode, QString text)
        : m_kind(kind), m_mode(mode), m_text(std::move(text))
    {}

    Kind m_kind;
    CaptureMode m_mode;
    QString m_text;
};
