#pragma once

#include "core/TimerHandle.h"

#include <QObject>
#include <QRect>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

class WindowSystem;
class FloatingPanel;
class Scheduler;

// The small banner near the bottom of the screen under the pointer that offers to add a word
// the user corrected to the dictionary. It dismisses itself 12 s after the last show() and
// never takes keyboard focus from the application the user types in.
class CorrectionPrompt : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool visible READ isVisible NOTIFY visibleChanged)
    Q_PROPERTY(QString corrected READ corrected NOTIFY correctedChanged)
public:
    // Adds a term to the user's dictionary (the dictionary store's add).
    using AddTerm = std::function<void(QString term, std::optional<QString> heardAs)>;
    // The available geometry of the screen under the pointer, else of the primary screen;
    // nothing when there is no screen at all.
    using ActiveScreen = std::function<std::optional<QRect>()>;

    static constexpr QSize size{440, 120};
    static constexpr int shadowPad = 30;
    // Height of the visible banner's bottom above the bottom of the screen's usable area.
    static constexpr int bottomMargin = 96;
    static constexpr double dismissDelay = 12;
    static constexpr double fadeDuration = 0.16;

    // `probe` may be null (an opaque banner); `activeScreen` defaults to the Qt screens.
    CorrectionPrompt(Scheduler &scheduler, AddTerm addTerm, const WindowSystem *probe,
                     ActiveScreen activeScreen = {}, QObject *parent = nullptr);
    ~CorrectionPrompt() override;

    // `heard`: the replaced words as the correction watcher reports them; `corrected`: the
    // words the user typed instead. A banner already up is updated and moved in place.
    void show(const QString &heard, const QString &corrected);

    // True while the banner is up and not fading out.
    bool isVisible() const;
    QString corrected() const { return m_corrected; }
    // Made on the first show(); kept for the whole run.
    FloatingPanel *panel() const { return m_panel.get(); }

    static std::optional<QRect> screenUnderPointer();

public Q_SLOTS:
    // Fades the banner out if it is up.
    void hide();

Q_SIGNALS:
    void visibleChanged();
    void correctedChanged();

private Q_SLOTS:
    // The banner's "Add": the whole corrected phrase becomes one term, heard as the old words.
    void add();

private:
    bool makePanel();
    void reveal();
    void armDismiss(double seconds);

    Scheduler &m_scheduler;
    AddTerm m_addTerm;
    const WindowSystem *m_probe;
    ActiveScreen m_activeScreen;
    std::unique_ptr<FloatingPanel> m_panel;
    TimerHandle m_dismissWork;
    QString m_heard;
    QString m_corrected;
};
