#include "support/FocusedField.h"

#include "platform/TextElement.h"
#include "support/XTestKeyboard.h"

#include <QDeadlineTimer>
#include <QTest>

#include <X11/Xlib.h>

FocusedField::FocusedField(QString binary) : m_binary(std::move(binary))
{
    m_display = XOpenDisplay(nullptr);
}

FocusedField::~FocusedField()
{
    m_process.kill();
    m_process.waitForFinished();
    if (m_display)
        XCloseDisplay(m_display);
}

bool FocusedField::start()
{
    m_process.start(m_binary, {QString(), QStringLiteral("0"), QStringLiteral("0")});
    if (!m_display || !reads(QString()))
        return false;
    // AT-SPI can see the field focused before the X server has moved the input focus.
    QTest::qWait(300);
    return inputFocus() > PointerRoot;
}

bool FocusedField::reads(const QString &text, int timeoutMs)
{
    QDeadlineTimer deadline(timeoutMs);
    do {
        if (std::unique_ptr<TextElement> element = m_reader.focusedElement())
            if (element->value() == text)
                return true;
        QTest::qWait(50);
    } while (!deadline.hasExpired());
    return false;
}

unsigned long FocusedField::inputFocus() const
{
    Window window = 0;
    int revert = 0;
    if (m_display)
        XGetInputFocus(m_display, &window, &revert);
    return window;
}

bool FocusedField::typeKeepingFocus(XTestKeyboard &keyboard, const QByteArray &word)
{
    const unsigned long focus = inputFocus();
    for (char letter : word) {
        keyboard.tap(QByteArray(1, letter));
        QTest::qWait(30);
        if (inputFocus() != focus)
            return false;
    }
    return reads(QString::fromLatin1(word));
}
