#include "hud/RecordingHUD.h"

#include "core/Clock.h"
#include "core/Scheduler.h"
#include "core/Text.h"
#include "desktop/FloatingPanel.h"
#include "desktop/Screens.h"
#include "hud/HUDPanel.h"
#include "stores/HistoryStore.h"

#include <QFont>
#include <QGuiApplication>
#include <QPointer>
#include <QTextLayout>

#include <algorithm>
#include <cmath>

namespace {

// Width the card's text column is laid out in; the views use the same.
constexpr double textWidth = 404.0;
constexpr double answerPointSize = 13.5;
constexpr double questionPointSize = 12.5;
// Header, paddings and the space around the answer.
constexpr double cardChrome = 71.0;
constexpr double questionSpacing = 12.0;
constexpr double followUpFooter = 33.0;
constexpr int minimumCardHeight = 96;
constexpr double streamRelayoutInterval = 0.08;
constexpr int streamRelayoutThreshold = 6;
constexpr double dismissAfterCollapse = 6.0;
constexpr double dismissAfterHover = 4.0;

// Height of `text` wrapped like the views' plain Text items wrap it.
double fittingHeight(const QString &text, double pointSize)
{
    QFont font = QGuiApplication::font();
    font.setPointSizeF(pointSize);
    // QTextLayout only breaks lines at Unicode line separators; QML's plain text converts
    // new lines the same way.
    QString laidOut = text;
    laidOut.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    laidOut.replace(QLatin1Char('\n'), QChar::LineSeparator);

    QTextLayout layout(laidOut, font);
    QTextOption option(Qt::AlignLeading);
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    double height = 0.0;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(textWidth);
        line.setPosition(QPointF(0.0, height));
        height += line.height();
    }
    layout.endLayout();
    return height;
}

// Longer answers stay longer: 0.06 s a character, between 10 and 30 s.
double readingTime(const QString &text)
{
    return std::clamp(0.06 * Text::characterCount(text), 10.0, 30.0);
}

} // namespace

RecordingHUD::RecordingHUD(HUDPanel &panel, const Screens &screens, const Clock &clock,
                           Scheduler &scheduler, HistoryStore &history, QObject *parent)
    : QObject(parent), m_panel(panel), m_screens(screens), m_clock(clock), m_scheduler(scheduler),
      m_history(history)
{
    connect(&m_state, &HUDState::toggleExpand, this, &RecordingHUD::toggleExpand);
    connect(&m_state, &HUDState::toggleHistory, this, &RecordingHUD::toggleHistory);
    connect(&m_state, &HUDState::close, this, &RecordingHUD::hide);
    connect(&m_state, &HUDState::hoverChanged, this, &RecordingHUD::hoverChanged);
}

void RecordingHUD::show(const HUDMode &mode)
{
    if (mode.kind() == HUDMode::Kind::hidden) {
        hide();
        return;
    }
    m_dismissWork.cancel();
    ensurePanel();
    m_panel.setAcceptsMouse(false);
    // Every pill starts centred again, wherever the last card was dragged.
    m_manualOrigin.reset();
    m_state.setExpanded(false);
    m_state.setMode(mode);
    place(pillSize, m_panel.isVisible());
    reveal();
}

void RecordingHUD::setLevel(float level)
{
    m_state.setLevel(level);
}

void RecordingHUD::showError(const QString &message)
{
    present(message, true, QString(), QString());
}

void RecordingHUD::hide()
{
    m_dismissWork.cancel();
    if (!m_panelCreated || !m_panel.isVisible())
        return;
    m_panel.fadeOut([self = QPointer<RecordingHUD>(this), reveals = m_revealCount] {
        if (self && self->m_revealCount == reveals)
            self->finishHiding();
    });
}

void RecordingHUD::startStreaming(const QString &question)
{
    // A countdown left by the previous card must not close this one mid-answer.
    m_dismissWork.cancel();
    ensurePanel();
    m_currentText.clear();
    m_streamingActive = true;
    m_state.setStreaming(true);
    m_state.setExpanded(false);
    m_state.setShowingHistory(false);
    m_state.setFollowUpHint(QString());
    m_state.setQuestion(Text::trimmed(question));
    m_state.setMode(HUDMode::response(QStringLiteral("…")));
    m_panel.setAcceptsMouse(true);
    const QSize size = cardSize(QString(), false);
    m_lastStreamHeight = size.height();
    m_lastStreamPlaceTime = m_clock.now();
    place(size, false);
    reveal();
}

void RecordingHUD::appendStreaming(const QString &delta)
{
    m_currentText += delta;
    m_state.setMode(
        HUDMode::response(m_currentText.isEmpty() ? QStringLiteral("…") : m_currentText));
    // Measuring is the expensive part of a delta: at most every 80 ms, and the panel only
    // moves when the height changed visibly.
    if (!m_streamingActive || m_state.showingHistory())
        return;
    const double now = m_clock.now();
    if (now - m_lastStreamPlaceTime <= streamRelayoutInterval)
        return;
    m_lastStreamPlaceTime = now;
    const QSize size = cardSize(m_currentText, m_state.expanded());
    if (std::abs(size.height() - m_lastStreamHeight) > streamRelayoutThreshold) {
        m_lastStreamHeight = size.height();
        place(size, false);
    }
}

void RecordingHUD::finishStreaming(const QString &followUp, const QString &finalText)
{
    m_streamingActive = false;
    m_state.setStreaming(false);
    if (!finalText.isEmpty())
        m_currentText = finalText;
    m_state.setMode(HUDMode::response(m_currentText));
    m_state.setFollowUpHint(followUp);
    // A card the user closed while the answer arrived stays closed.
    if (!m_panelCreated || !m_panel.isVisible())
        return;
    if (!m_state.showingHistory())
        place(cardSize(m_currentText, m_state.expanded()), true);
    if (!m_state.expanded() && !m_state.showingHistory())
        armDismiss(readingTime(m_currentText));
}

void RecordingHUD::toggleExpand()
{
    if (!showsCard())
        return;
    m_dismissWork.cancel();
    m_state.setExpanded(!m_state.expanded());
    const QSize size = cardSize(m_currentText, m_state.expanded());
    m_lastStreamHeight = size.height();
    place(size, true);
    if (!m_state.expanded())
        armDismiss(dismissAfterCollapse);
}

void RecordingHUD::toggleHistory()
{
    if (m_state.mode().kind() != HUDMode::Kind::response)
        return;
    m_dismissWork.cancel();
    m_state.setShowingHistory(!m_state.showingHistory());
    if (m_state.showingHistory()) {
        m_history.refresh({HistoryScope::chat});
        const auto screen = activeScreen();
        const int height = screen ? static_cast<int>(std::min(0.6 * screen->height(), 560.0)) : 480;
        place(QSize(cardWidth, height), true);
    } else {
        const QSize size = cardSize(m_currentText, false);
        m_lastStreamHeight = size.height();
        place(size, true);
        armDismiss(dismissAfterCollapse);
    }
}

void RecordingHUD::hoverChanged(bool hovering)
{
    if (!showsCard())
        return;
    if (hovering)
        m_dismissWork.cancel();
    else if (!m_state.expanded() && !m_state.showingHistory())
        armDismiss(dismissAfterHover);
}

void RecordingHUD::present(const QString &text, bool isError, const QString &question,
                           const QString &followUp)
{
    m_dismissWork.cancel();
    ensurePanel();
    m_currentText = text;
    m_streamingActive = false;
    m_state.setStreaming(false);
    m_state.setExpanded(false);
    m_state.setShowingHistory(false);
    m_state.setFollowUpHint(isError ? QString() : followUp);
    m_state.setQuestion(Text::trimmed(question));
    m_state.setMode(isError ? HUDMode::error(text) : HUDMode::response(text));
    m_panel.setAcceptsMouse(true);
    place(cardSize(text, false), false);
    reveal();
    armDismiss(readingTime(text));
}

void RecordingHUD::ensurePanel()
{
    if (m_panelCreated)
        return;
    m_panel.create(m_state);
    m_panel.setAcceptsMouse(false);
    connect(&m_panel, &HUDPanel::moved, this, &RecordingHUD::panelMoved);
    m_panelCreated = true;
}

void RecordingHUD::place(QSize size, bool animate)
{
    const auto screen = activeScreen();
    if (!m_panelCreated || !screen)
        return;
    const QRect &visible = *screen;
    const int width = size.width() + 2 * shadowMargin;
    const int height = size.height() + 2 * shadowMargin;
    const int visibleBottom = visible.y() + visible.height();

    int x = 0;
    int y = 0;
    if (m_manualOrigin) {
        // A dragged card keeps its top edge and grows or shrinks downward.
        x = m_manualOrigin->x();
        y = m_panel.frame().y();
    } else {
        x = visible.x() + (visible.width() - width) / 2;
        y = std::max(visible.y(), visibleBottom - bottomMargin + shadowMargin - height);
    }
    const QRect frame(
        FloatingPanel::clampedOrigin(QPoint(x, y), QSize(width, height), visible, shadowMargin),
        QSize(width, height));
    const bool visibleNow = m_panel.isVisible();
    if (visibleNow && m_panel.frame() == frame)
        return;
    // Our own moves are not the user's: they must not pin the card.
    m_suppressMoveTracking = true;
    if (animate && visibleNow) {
        m_panel.setFrame(frame, true, [self = QPointer<RecordingHUD>(this)] {
            if (self)
                self->m_suppressMoveTracking = false;
        });
    } else {
        m_panel.setFrame(frame, false, {});
        m_suppressMoveTracking = false;
    }
}

QSize RecordingHUD::cardSize(const QString &text, bool expanded) const
{
    double height = std::ceil(fittingHeight(text, answerPointSize)) + cardChrome;
    if (!m_state.question().isEmpty())
        height += std::ceil(fittingHeight(m_state.question(), questionPointSize)) + questionSpacing;
    if (!m_state.followUpHint().isEmpty())
        height += followUpFooter;
    height = std::ceil(height);

    double cap = collapsedCap;
    if (expanded) {
        const auto screen = activeScreen();
        cap = screen ? std::min(0.65 * screen->height(), 620.0) : 520.0;
    }
    const int capped = static_cast<int>(std::floor(std::min(cap, height)));
    return QSize(cardWidth, std::max(capped, minimumCardHeight));
}

void RecordingHUD::reveal()
{
    ++m_revealCount;
    if (m_panel.isVisible())
        m_panel.raise();
    else
        m_panel.fadeIn();
}

void RecordingHUD::armDismiss(double seconds)
{
    // A card never closes itself while its answer is still arriving; finishing arms it.
    m_dismissWork.cancel();
    if (m_streamingActive)
        return;
    m_dismissWork = m_scheduler.schedule(seconds, [this] { hide(); });
}

QWindow *RecordingHUD::window() const
{
    return m_panelCreated ? m_panel.window() : nullptr;
}

std::optional<QRect> RecordingHUD::activeScreen() const
{
    return m_screens.activeScreen();
}

void RecordingHUD::panelMoved()
{
    if (m_suppressMoveTracking || !m_panelCreated || !m_panel.isVisible() || !showsCard())
        return;
    m_manualOrigin = m_panel.frame().topLeft();
}

void RecordingHUD::finishHiding()
{
    m_state.setExpanded(false);
    m_state.setShowingHistory(false);
    m_state.setMode(HUDMode::hidden());
    m_streamingActive = false;
    m_state.setStreaming(false);
    m_panel.setAcceptsMouse(false);
}

bool RecordingHUD::showsCard() const
{
    const auto kind = m_state.mode().kind();
    return kind == HUDMode::Kind::response || kind == HUDMode::Kind::error;
}
