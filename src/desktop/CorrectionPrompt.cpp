#include "desktop/CorrectionPrompt.h"

#include "core/Scheduler.h"
#include "desktop/FloatingPanel.h"

#include <QCursor>
#include <QGuiApplication>
#include <QPointer>
#include <QQuickItem>
#include <QScreen>

namespace {

const QUrl bannerUrl(QStringLiteral("qrc:/Ovrin/Desktop/CorrectionBanner.qml"));
constexpr int cornerRadius = 14;

} // namespace

CorrectionPrompt::CorrectionPrompt(Scheduler &scheduler, AddTerm addTerm, const WindowSystem *probe,
                                   ActiveScreen activeScreen, QObject *parent)
    : QObject(parent), m_scheduler(scheduler), m_addTerm(std::move(addTerm)), m_probe(probe),
      m_activeScreen(activeScreen ? std::move(activeScreen) : &CorrectionPrompt::screenUnderPointer)
{}

CorrectionPrompt::~CorrectionPrompt() = default;

std::optional<QRect> CorrectionPrompt::screenUnderPointer()
{
    const QPoint pointer = QCursor::pos();
    for (QScreen *screen : QGuiApplication::screens()) {
        if (screen->geometry().contains(pointer))
            return screen->availableGeometry();
    }
    if (QScreen *primary = QGuiApplication::primaryScreen())
        return primary->availableGeometry();
    return std::nullopt;
}

void CorrectionPrompt::show(const QString &heard, const QString &corrected)
{
    m_dismissWork.cancel();
    if (!m_panel && !makePanel())
        return;
    m_heard = heard;
    if (m_corrected != corrected) {
        m_corrected = corrected;
        Q_EMIT correctedChanged();
    }
    m_panel->rootObject()->setProperty("corrected", corrected);

    // No screen: the panel stays where it was, at the origin the first time.
    if (const std::optional<QRect> area = m_activeScreen()) {
        const int left = area->x() + area->width() / 2 - size.width() / 2;
        const int bannerBottom = area->y() + area->height() - bottomMargin;
        m_panel->setPosition(left, bannerBottom + shadowPad - size.height());
    }
    reveal();
    armDismiss(dismissDelay);
}

void CorrectionPrompt::hide()
{
    m_dismissWork.cancel();
    if (!m_panel || !m_panel->isShown())
        return;
    m_panel->fadeOut(fadeDuration);
}

bool CorrectionPrompt::isVisible() const
{
    return m_panel && m_panel->isShown();
}

bool CorrectionPrompt::makePanel()
{
    auto panel = std::make_unique<FloatingPanel>(m_scheduler, m_probe, size);
    panel->setTitle(QStringLiteral("Add to dictionary?"));
    if (!panel->load(bannerUrl, {{QStringLiteral("corrected"), QString()}})) {
        qWarning("CorrectionPrompt: the banner could not be made: %s",
                 qPrintable(panel->errorString()));
        return false;
    }
    panel->setOpaqueShape(QRect(QPoint(shadowPad, shadowPad),
                                size.shrunkBy({shadowPad, shadowPad, shadowPad, shadowPad})),
                          cornerRadius);
    QQuickItem *banner = panel->rootObject();
    connect(banner, SIGNAL(add()), this, SLOT(add()));
    connect(banner, SIGNAL(dismiss()), this, SLOT(hide()));
    connect(panel.get(), &FloatingPanel::shownChanged, this, &CorrectionPrompt::visibleChanged);
    m_panel = std::move(panel);
    return true;
}

void CorrectionPrompt::reveal()
{
    if (m_panel->isShown())
        m_panel->bringToFront();
    else
        m_panel->fadeIn(fadeDuration);
}

void CorrectionPrompt::armDismiss(double seconds)
{
    QPointer<CorrectionPrompt> self(this);
    m_dismissWork = m_scheduler.schedule(seconds, [self] {
        if (self)
            self->hide();
    });
}

void CorrectionPrompt::add()
{
    if (m_addTerm) {
        std::optional<QString> heardAs;
        if (!m_heard.isEmpty())
            heardAs = m_heard;
        m_addTerm(m_corrected, heardAs);
    }
    hide();
}
