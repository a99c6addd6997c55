#pragma once

#include "hotkeys/Shortcut.h"
#include "platform/KeyboardMap.h"

#include <QHash>
#include <QJsonObject>
#include <QObject>
#include <QtQml/qqmlregistration.h>

class QKeyEvent;

// The model of a settings field that records one hotkey. While recording it watches the
// application's own key events (an event filter on the application) and keeps them from
// the rest of the application. Modifiers held on their own become a modifier-only
// shortcut when the last one is released (all that were held at once count); a key
// pressed with at least one of Ctrl, Alt, Shift or Super becomes a key combination at once.
// Escape cancels.
class ShortcutRecorder : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    // The bound shortcut as settings.json holds it: {"modifiers": n, "keyCode": n?,
    // "keyLabel": s?}. An object that is no shortcut is ignored.
    Q_PROPERTY(
        QJsonObject shortcut READ shortcutObject WRITE setShortcutObject NOTIFY shortcutChanged)
    // No relevant modifier and no key.
    Q_PROPERTY(bool empty READ isEmpty NOTIFY shortcutChanged)
    Q_PROPERTY(QString label READ label NOTIFY labelChanged)
    Q_PROPERTY(bool recording READ isRecording NOTIFY recordingChanged)
    Q_PROPERTY(QString hint READ hint NOTIFY hintChanged)
    // What the user calls the key that acts as fn ("Right Ctrl"): shortcuts with fn show it.
    Q_PROPERTY(QString fnKeyName READ fnKeyName WRITE setFnKeyName NOTIFY fnKeyNameChanged)
public:
    // Without a map of its own the recorder uses the default one, read when recording starts.
    explicit ShortcutRecorder(QObject *parent = nullptr);
    explicit ShortcutRecorder(const KeyboardMap *map, QObject *parent = nullptr);
    ~ShortcutRecorder() override;

    // For recorders made by QML. The map must outlive them.
    static void setDefaultKeyboardMap(const KeyboardMap *map);
    void setKeyboardMap(const KeyboardMap *map);

    const Shortcut &shortcut() const { return m_shortcut; }
    void setShortcut(const Shortcut &shortcut);
    QJsonObject shortcutObject() const { return m_shortcut.encode(); }
    void setShortcutObject(const QJsonObject &object);
    bool isEmpty() const;
    QString label() const;
    bool isRecording() const { return m_recording; }
    QString hint() const;
    const QString &fnKeyName() const { return m_fnKeyName; }
    void setFnKeyName(const QString &name);

    // Shift, control, option and command of the flags, plus fn when asked for and held.
    static Shortcut::Flags shortcutFlags(Shortcut::Flags flags, bool includeFn);
    // The name of a special key, else the characters upper-cased, else "Key <code>".
    static QString keyLabel(int keyCode, const QString &characters);

    // The field's click: starts recording, or stops it leaving the shortcut as it was.
    Q_INVOKABLE void toggle();
    Q_INVOKABLE void clear();

Q_SIGNALS:
    void shortcutChanged();
    void labelChanged();
    void hintChanged();
    void recordingChanged();
    void fnKeyNameChanged();
    // The user recorded or cleared a shortcut; the one to save.
    void edited(const Shortcut &shortcut);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    const KeyboardMap *keyboardMap() const;
    void startRecording();
    void stopRecording();
    void handleKey(const QKeyEvent &event);
    Shortcut::Flags heldFlags() const;
    void modifiersChanged(Shortcut::Flags flags);
    void keyDown(int keyCode, const QString &characters, Shortcut::Flags flags);
    void userSet(const Shortcut &shortcut);
    void updateLabel();

    const KeyboardMap *m_map = nullptr;
    Shortcut m_shortcut;
    QString m_label;
    QString m_fnKeyName = QStringLiteral("Right Ctrl"); // the default fn key of a PC keyboard
    bool m_recording = false;
    Shortcut::Flags m_peak = 0;             // every modifier held at once since recording started
    QHash<quint64, Shortcut::Flags> m_held; // modifier keys held, by native key
};
