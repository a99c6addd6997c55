#include "hud/HUDState.h"

#include <algorithm>
#include <cmath>

HUDState::HUDState(QObject *parent) : QObject(parent) {}

QString HUDState::modeKind() const
{
    switch (m_mode.kind()) {
    case HUDMode::Kind::recording:
        return QStringLiteral("recording");
    case HUDMode::Kind::processing:
        return QStringLiteral("processing");
    case HUDMode::Kind::response:
        return QStringLiteral("response");
    case HUDMode::Kind::error:
        return QStringLiteral("error");
    case HUDMode::Kind::hidden:
        break;
    }
    return QStringLiteral("hidden");
}

QString HUDState::captureMode() const
{
    return captureModeName(m_mode.captureMode());
}

void HUDState::setMode(const HUDMode &mode)
{
    if (m_mode == mode)
        return;
    m_mode = mode;
    Q_EMIT modeChanged();
}

void HUDState::setExpanded(bool expanded)
{
    if (m_expanded == expanded)
        return;
    m_expanded = expanded;
    Q_EMIT expandedChanged();
}

void HUDState::setQuestion(const QString &question)
{
    if (m_question == question)
        return;
    m_question = question;
    Q_EMIT questionChanged();
}

void HUDState::setShowingHistory(bool showing)
{
    if (m_showingHistory == showing)
        return;
    m_showingHistory = showing;
    Q_EMIT showingHistoryChanged();
}

void HUDState::setLevel(float level)
{
    const float clamped = std::isnan(level) ? 0.0f : std::clamp(level, 0.0f, 1.0f);
    if (m_level == clamped)
        return;
    m_level = clamped;
    Q_EMIT levelChanged();
}

void HUDState::setFollowUpHint(const QString &hint)
{
    if (m_followUpHint == hint)
        return;
    m_followUpHint = hint;
    Q_EMIT followUpHintChanged();
}

void HUDState::setStreaming(bool streaming)
{
    if (m_streaming == streaming)
        return;
    m_streaming = streaming;
    Q_EMIT streamingChanged();
}
