#pragma once

#include "core/TimerHandle.h"
#include "hud/HUDMode.h"
#include "hud/HUDState.h"

#include <QObject>
#include <QPoint>
#include <QSize>
#include <QThread>

#include <functional>
#include <optional>

class Clock;
class HUDPanel;
class HUDScreens;
class Scheduler;

// Drives the floating HUD: the pill while the user speaks or waits, the answer or error card
// afterwards. The card grows with its content, can be dragged and dismisses itself after a
// time that depends on its length.
//
// Every public operation may be called from any thread. A call on the controller's own thread
// runs at once, so its effect is visible on return; a call from elsewhere is queued to the
// controller's thread and runs there in the order it was made.
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

    RecordingHUD(HUDPanel &panel, const HUDScreens &screens, const Clock &clock,
                 Scheduler &scheduler, QObject *parent = nullptr);

    HUDState *state() { return &m_state; }
    // Where a panel of `size` may stand on a screen's usable area `visible`: only its
    // transparent margin may leave it. A panel larger than the screen keeps its top-left
    // corner in, which keeps a card's header and close button in reach.
    static QPoint clampedOrigin(QPoint origin, QSize size, const QRect &visible);
    // Asked to reload the chat history, without forcing, when the card opens its history.
    void setHistoryRefresher(std::function<void()> refresh);

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
    template <typename Call> bool hopToOwnThread(Call &&call)
    {
        if (QThread::currentThread() == thread())
            return false;
        QMetaObject::invokeMethod(this, std::forward<Call>(call), Qt::QueuedConnection);
        return true;
    }

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
    const HUDScreens &m_screens;
    const Clock &m_clock;
    Scheduler &m_scheduler;
    std::function<void()> m_refreshHistory;

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
