#include "app/DesktopAdapter.h"

#include "desktop/Paster.h"
#include "desktop/SelectionReader.h"
#include "platform/InstalledApps.h"
#include "screenshot/ScreenCapturer.h"

#include <QClipboard>
#include <QGuiApplication>

DesktopAdapter::DesktopAdapter(Paster &paster, SelectionReader &selection, ScreenCapturer &screens,
                               InstalledApps &apps, std::function<QList<QWindow *>()> ownPanels)
    : m_paster(paster), m_selection(selection), m_screens(screens), m_apps(apps),
      m_ownPanels(std::move(ownPanels))
{}

void DesktopAdapter::paste(const QString &text)
{
    m_paster.paste(text);
}

void DesktopAdapter::copyToClipboard(const QString &text)
{
    QGuiApplication::clipboard()->setText(text);
}

std::optional<QString> DesktopAdapter::viaAccessibility()
{
    return m_selection.viaAccessibility();
}

std::optional<QString> DesktopAdapter::viaCopy()
{
    return m_selection.viaCopy();
}

QCoro::Task<std::optional<QByteArray>> DesktopAdapter::captureActiveDisplay(double maxDimension,
                                                                            double quality)
{
    // The question is about the user's screen, not about our last answer card.
    return m_screens.captureActiveDisplay(maxDimension, quality,
                                          m_ownPanels ? m_ownPanels() : QList<QWindow *>());
}

QStringList DesktopAdapter::names()
{
    return m_apps.names();
}

bool DesktopAdapter::open(const QString &name)
{
    return m_apps.open(name);
}
