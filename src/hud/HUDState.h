#pragma once

#include "hud/HUDMode.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

// What the HUD views draw, owned and changed by RecordingHUD on the main thread. The views
// report the user's actions through the signals at the end, which the controller handles.
class HUDState : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("HUDState is owned by RecordingHUD")
    // "recording", "processing", "response", "error" or "hidden".
    Q_PROPERTY(QString modeKind READ modeKind NOTIFY modeChanged)
    // The answer or error text of a card; empty for a pill.
    Q_PROPERTY(QString modeText READ modeText NOTIFY modeChanged)
    // "paste", "ask" or "screen" for a pill.
    Q_PROPERTY(QString captureMode READ captureMode NOTIFY modeChanged)
    Q_PROPERTY(bool expanded READ expanded NOTIFY expandedChanged)
    // Empty when the answer has no question to show.
    Q_PROPERTY(QString question READ question NOTIFY questionChanged)
    Q_PROPERTY(bool showingHistory READ showingHistory NOTIFY showingHistoryChanged)
    // Live microphone level, 0 to 1.
    Q_PROPERTY(float level READ level NOTIFY levelChanged)
    // Name of the ask shortcut for the follow-up footer; empty for none.
    Q_PROPERTY(QString followUpHint READ followUpHint NOTIFY followUpHintChanged)
    Q_PROPERTY(bool streaming READ streaming NOTIFY streamingChanged)
public:
    explicit HUDState(QObject *parent = nullptr);

    const HUDMode &mode() const { return m_mode; }
    QString modeKind() const;
    QString modeText() const { return m_mode.text(); }
    QString captureMode() const;
    bool expanded() const { return m_expanded; }
    const QString &question() const { return m_question; }
    bool showingHistory() const { return m_showingHistory; }
    float level() const { return m_level; }
    const QString &followUpHint() const { return m_followUpHint; }
    bool streaming() const { return m_streaming; }

    void setMode(const HUDMode &mode);
    void setExpanded(bool expanded);
    void setQuestion(const QString &question);
    void setShowingHistory(bool showing);
    // Out-of-range levels are clamped; NaN counts as silence.
    void setLevel(float level);
    void setFollowUpHint(const QString &hint);
    void setStreaming(bool streaming);

Q_SIGNALS:
    void modeChanged();
    void expandedChanged();
    void questionChanged();
    void showingHistoryChanged();
    void levelChanged();
    void followUpHintChanged();
    void streamingChanged();

    // The views' actions; QML calls them like methods.
    void toggleExpand();
    void toggleHistory();
    void close();
    void hoverChanged(bool hovering);

private:
    HUDMode m_mode = HUDMode::hidden();
    bool m_expanded = false;
    QString m_question;
    bool m_showingHistory = false;
    float m_level = 0.0f;
    QString m_followUpHint;
    bool m_streaming = false;
};
