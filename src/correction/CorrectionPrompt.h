#pragma once

#include "core/TimerHandle.h"

#include <QObject>
#include <QRect>
#include <QString>

#include <memory>
#include <optional>

class FloatingPanel;
class Scheduler;
class Screens;
class WindowSystem;

// The small banner near the bottom of the screen under the pointer that offers to add a word
// the user corrected to the dictionary. It dismisses itself 12 s after the last show() and
// never takes keyboard focus from the application the user types in.
class CorrectionPrompt : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool visible READ isVisible NOTIFY visibleChanged)
    Q_PROPERTY(QString corrected READ corrected NOTIFY correctedChanged)
public:
    static constexpr QSize size{440, 120};
    static constexpr int shadowPad = 30;
    // Height of the visible banner's bottom above the bottom of the screen's usable area.
    static constexpr int bottomMargin = 96;
    static constexpr double dismissDelay = 12;
    static constexpr double fadeDuration = 0.16;

    // `windows` may be null: an opaque banner.
    CorrectionPrompt(Scheduler &scheduler, const Screens &screens, const WindowSystem *windows,
                     QObject *parent = nullptr);
    ~CorrectionPrompt() override;

    // `heard`: the replaced words as the correction watcher reports them; `corrected`: the
    // words the user typed instead. A banner already up is updated and moved in place.
    void show(const QString &heard, const QString &corrected);

    // True while the banner is up and not fading out.
    bool isVisible() const;
    QString corrected() const { return m_corrected; }
    // Made on the first show(); kept for the whole run.
    FloatingPanel *panel() const { return m_panel.get(); }

public Q_SLOTS:
    // Fades the banner out if it is up.
    void hide();

Q_SIGNALS:
    void visibleChanged();
    void correctedChanged();
    // The banner's "Add": the whole corrected phrase is the term, heard as the old words.
    void addRequested(const QString &term, const std::optional<QString> &heardAs);

private Q_SLOTS:
    void add();

private:
    bool makePanel();
    void reveal();
    void armDismiss(double seconds);

    Scheduler &m_scheduler;
    const Screens &m_screens;
    const WindowSystem *m_windows;
    std::unique_ptr<FloatingPanel> m_panel;
    TimerHandle m_dismissWork;
    QString m_heard;
    QString m_corrected;
};
