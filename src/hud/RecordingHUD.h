#pragma once

#include "core/TimerHandle.h"
#include "hud/HUDMode.h"
#include "hud/HUDState.h"

#include <QObject>
#include <QPoint>
#include <QSize>

#include <optional>

class Clock;
class HistoryStore;
class HUDPanel;
class QWindow;
class Scheduler;
class Screens;

// Drives the floating HUD: the pill while the user speaks or waits, the answer or error card
// afterwards. The card grows with its content, can be dragged and dismisses itself after a
// time that depends on its length.
class RecordingHUD : public QObject
{
    Q_OBJECT
    Q_PROPERTY(HUDState *state READ state CONSTANT)
public:
    // Content sizes; the panel is `shadowMargin` larger on every side.
    static constexpr QSize pillSize{220, 60};
    static constexpr int bottomMargin = 28;
    static constexpr int cardWidth = 440;
    static constexpr int collapsedCap = 260;
    static constexpr int shadowMargin = 44;

    // `history` is refreshed when the card opens its list of earlier answers.
    RecordingHUD(HUDPanel &panel, const Screens &screens, const Clock &clock, Scheduler &scheduler,
                 HistoryStore &history, QObject *parent = nullptr);

    HUDState *state() { return &m_state; }
    // The panel's window once it exists, for screenshots to leave out.
    QWindow *window() const;

    // The pill for `recording` and `processing`; `hidden` hides.
    void show(const HUDMode &mode);
    void setLevel(float level);
    void showError(const QString &message);
    void hide();
    // An empty card for an answer that streams in; an empty or blank question shows none.
    void startStreaming(const QString &question);
    void appendStreaming(const QString &delta);
    // An empty follow-up shows no hint; an empty final text keeps the streamed one.
    void finishStreaming(const QString &followUp, const QString &finalText);

    // The views' actions, also reachable through the state's signals.
    void toggleExpand();
    void toggleHistory();
    void hoverChanged(bool hovering);

private:
    void present(const QString &text, bool isError, const QString &question,
                 const QString &followUp);
    void ensurePanel();
    void place(QSize size, bool animate);
    QSize cardSize(const QString &text, bool expanded) const;
    void reveal();
    void armDismiss(double seconds);
    std::optional<QRect> activeScreen() const;
    void panelMoved();
    void finishHiding();
    bool showsCard() const;

    HUDPanel &m_panel;
    const Screens &m_screens;
    const Clock &m_clock;
    Scheduler &m_scheduler;
    HistoryStore &m_history;

    HUDState m_state;
    bool m_panelCreated = false;
    TimerHandle m_dismissWork;
    // Top-left of the panel where the user dragged the card; kept until the next pill.
    std::optional<QPoint> m_manualOrigin;
    bool m_suppressMoveTracking = false;
    QString m_currentText;
    bool m_streamingActive = false;
    int m_lastStreamHeight = 0;
    double m_lastStreamPlaceTime = 0.0;
    // Bumped by every reveal, so a fade-out that a new pill or card interrupted does not
    // reset the state that now belongs to it.
    quint64 m_revealCount = 0;
};
