#pragma once

#include <QObject>

// Whether some settings field is recording a shortcut, in the whole application: the
// global hotkeys rest meanwhile, or pressing one would also start a dictation.
class ShortcutRecording : public QObject
{
    Q_OBJECT
public:
    static ShortcutRecording &shared();

    bool isActive() const { return m_active; }
    void setActive(bool active);

Q_SIGNALS:
    void activeChanged(bool active);

private:
    ShortcutRecording() = default;

    bool m_active = false;
};
