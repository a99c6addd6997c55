#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

// The key that acts as fn. PC keyboards have no fn key that software can see, so the user
// picks one of a few right-hand keys, and every shortcut is shown with that key's name. The
// application keeps the choice with its user defaults (it belongs to this keyboard, not to
// settings.json); until it is set the first choice holds.
class FnKey : public QObject
{
    Q_OBJECT
    // An X keysym name out of `choices`.
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

Q_SIGNALS:
    void keyChanged();

private:
    FnKey();

    QString m_key;
};
