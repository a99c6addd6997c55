#pragma once

#include "app/AppLauncher.h"
#include "app/ScreenshotSource.h"
#include "app/SelectionSource.h"
#include "app/TextOutput.h"

#include <functional>

class InstalledApps;
class QWindow;
class Paster;
class ScreenCapturer;
class SelectionReader;

// The desktop as a capture session uses it: text out, the selection in, screenshots and
// the installed applications.
class DesktopAdapter : public TextOutput,
                       public SelectionSource,
                       public ScreenshotSource,
                       public AppLauncher
{
public:
    // `ownPanels`: our floating windows, which a screenshot leaves out.
    DesktopAdapter(Paster &paster, SelectionReader &selection, ScreenCapturer &screens,
                   InstalledApps &apps, std::function<QList<QWindow *>()> ownPanels);

    void paste(const QString &text) override;
    void copyToClipboard(const QString &text) override;
    std::optional<QString> viaAccessibility() override;
    std::optional<QString> viaCopy() override;
    QCoro::Task<std::optional<QByteArray>> captureActiveDisplay(double maxDimension,
                                                                double quality) override;
    QStringList names() override;
    bool open(const QString &name) override;

private:
    Paster &m_paster;
    SelectionReader &m_selection;
    ScreenCapturer &m_screens;
    InstalledApps &m_apps;
    std::function<QList<QWindow *>()> m_ownPanels;
};
