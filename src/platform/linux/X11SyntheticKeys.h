#pragma once

#include <QList>
#include <QPair>

// The key presses and releases this process sends through XTest, so that the key source,
// which sees every key of the session, can tell them from the user's own: a modifier let go
// for a moment around a copy keystroke must not end the hold the user is making.
class X11SyntheticKeys
{
public:
    static X11SyntheticKeys &shared();

    // Called just before the event is sent.
    void expect(int keycode, bool press);
    // True, and forgotten, when the event is one that was sent here.
    bool take(int keycode, bool press);
    void clear() { m_expected.clear(); }

private:
    QList<QPair<int, bool>> m_expected;
};
