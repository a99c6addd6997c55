#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

class QSettings;

// The key that acts as fn. PC keyboards have no fn key that software can see, so the user
// picks one of a few right-hand keys. The choice applies at once: the key source and the
// keyboard map follow it, and every shortcut is shown with the key's name. It belongs to
// this keyboard, not to settings.json, so the application keeps it with its user defaults.
class FnKey : public QObject
{
    Q_OBJECT
    // An X keysym name out of `choices`; until one is chosen, the first.
    Q_PROPERTY(QString key READ key WRITE setKey NOTIFY keyChanged)
    // What the user calls it: "Right Ctrl".
    Q_PROPERTY(QString label READ label NOTIFY keyChanged)
    Q_PROPERTY(QStringList choices READ choices CONSTANT)
public:
    static FnKey &shared();

    // X keysym names; the first is the default.
    static QStringList choices();
    // "Right Ctrl" for "Control_R", and so on; a keysym outside the choices is shown as is.
    Q_INVOKABLE static QString labelOf(const QString &keysym);

    const QString &key() const { return m_key; }
    // A key outside `choices` is ignored.
    void setKey(const QString &keysym);
    QString label() const { return labelOf(m_key); }

    // Takes the choice saved in `defaults` and saves every later one there.
    void keepIn(QSettings *defaults);

Q_SIGNALS:
    void keyChanged();

private:
    FnKey();

    QString m_key;
    QSettings *m_defaults = nullptr;
};
