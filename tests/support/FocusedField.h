#pragma once

#include "platform/linux/AtspiFocusedTextReader.h"

#include <QProcess>
#include <QString>

class XTestKeyboard;
struct _XDisplay;

// The test text field running in a process of its own, focused, read over AT-SPI: the
// application a user types in while our panels are up.
class FocusedField
{
public:
    explicit FocusedField(QString binary);
    ~FocusedField();
    FocusedField(const FocusedField &) = delete;
    FocusedField &operator=(const FocusedField &) = delete;

    // Starts the field empty; true once it reads focused and the X server gave it the keys.
    bool start();
    // True once the focused field's text is `text`; false after the timeout.
    bool reads(const QString &text, int timeoutMs = 10000);
    // The X window that has the keyboard focus now.
    unsigned long inputFocus() const;
    // Types `word` (lower-case letters) with XTest, a key at a time; true when the focus
    // never left the field and the field then reads the word.
    bool typeKeepingFocus(XTestKeyboard &keyboard, const QByteArray &word);

private:
    QString m_binary;
    QProcess m_process;
    AtspiFocusedTextReader m_reader;
    _XDisplay *m_display = nullptr;
};
