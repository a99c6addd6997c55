// OCR of a screenshot-like picture drawn with Qt: window chrome, a sidebar, a heading and
// 12-13 px body text, saved as a JPEG of quality 60 as the client sends it.
#include "HttpError.h"
#include "ScreenTextReader.h"

#include <QBuffer>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QRegularExpression>
#include <QTest>

#include <set>

namespace {

const QStringList sidebar = {"Inbox", "Drafts", "Archive", "Calendar", "Contacts", "Settings"};
const QString title = QStringLiteral("Project Planning - Notes");
const QString heading = QStringLiteral("Weekly Status Update");
const QStringList paragraphs = {
    "The quarterly report shows revenue growth in every region.",
    "Please send the signed contract to Dana before Friday.",
    "Meeting notes from the design review are attached below.",
    "Remember to update the budget spreadsheet with the new figures.",
    "The server migration is scheduled for next Tuesday evening.",
    "Customer feedback has improved since the last release.",
};
const QStringList buttons = {"Send Report", "Delete Account"};
const QStringList terminal = {"Terminal output finished without errors",
                              "Build succeeded in forty seconds"};

std::string jpegOf(const QImage &image)
{
    QByteArray jpeg;
    QBuffer buffer(&jpeg);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "JPEG", 60);
    return jpeg.toStdString();
}

std::string screenshot(int textPixels)
{
    QImage image(1567, 979, QImage::Format_RGB32);
    image.fill(QColor(236, 236, 236));
    QPainter painter(&image);
    QFont text(QStringLiteral("DejaVu Sans"));
    text.setPixelSize(textPixels);
    painter.setFont(text);

    painter.fillRect(0, 0, 1567, 32, QColor(48, 48, 48));
    painter.setPen(Qt::white);
    painter.drawText(12, 22, title);
    painter.fillRect(0, 32, 220, 947, QColor(250, 250, 250));
    painter.setPen(QColor(30, 30, 30));
    for (int i = 0; i < sidebar.size(); ++i)
        painter.drawText(24, 70 + i * 28, sidebar[i]);

    painter.fillRect(240, 52, 1300, 600, Qt::white);
    QFont bold = text;
    bold.setPixelSize(24);
    bold.setBold(true);
    painter.setFont(bold);
    painter.drawText(270, 100, heading);
    painter.setFont(text);
    for (int i = 0; i < paragraphs.size(); ++i)
        painter.drawText(270, 150 + i * 22, paragraphs[i]);
    painter.setPen(Qt::white);
    painter.fillRect(270, 320, 120, 30, QColor(40, 100, 200));
    painter.drawText(290, 340, buttons[0]);
    painter.fillRect(600, 320, 200, 30, QColor(200, 60, 60));
    painter.drawText(620, 340, buttons[1]);

    // A terminal in a dark theme.
    painter.fillRect(240, 680, 1300, 260, QColor(30, 30, 30));
    painter.setPen(QColor(220, 220, 220));
    for (int i = 0; i < terminal.size(); ++i)
        painter.drawText(260, 720 + i * 25, terminal[i]);
    painter.end();
    return jpegOf(image);
}

std::set<QString> wordsOf(const QString &text)
{
    std::set<QString> words;
    static const QRegularExpression separator(QStringLiteral("[^a-z]+"));
    for (const QString &word : text.toLower().split(separator, Qt::SkipEmptyParts))
        words.insert(word);
    return words;
}

} // namespace

class TestScreenTextReader : public QObject
{
    Q_OBJECT

    ScreenTextReader m_reader; // loaded once, as in the server

private Q_SLOTS:
    void readsTheWordsOnScreen_data()
    {
        QTest::addColumn<int>("textPixels");
        QTest::newRow("11 px") << 11;
        QTest::newRow("13 px") << 13;
    }

    // Measured: all 68 distinct words at 11 to 14 px; the bound leaves room for other
    // Tesseract versions and fonts.
    void readsTheWordsOnScreen()
    {
        QFETCH(int, textPixels);
        const QString read = QString::fromStdString(m_reader.read(screenshot(textPixels)));

        const auto expected = wordsOf(QStringList({title, heading}).join(' ') + ' ' +
                                      (sidebar + paragraphs + buttons + terminal).join(' '));
        const auto found = wordsOf(read);
        QStringList missed;
        for (const QString &word : expected)
            if (!found.contains(word))
                missed << word;
        const double share = 1.0 - double(missed.size()) / double(expected.size());
        QVERIFY2(share >= 0.9, qPrintable(QStringLiteral("missed %1 of %2: %3\n---\n%4")
                                              .arg(missed.size())
                                              .arg(expected.size())
                                              .arg(missed.join(' '), read)));
        // Lines stay whole, whatever their colours.
        for (const QString &line : QStringList({heading, paragraphs[0], terminal[0]}))
            QVERIFY2(read.contains(line), qPrintable(line + " is not in:\n" + read));
    }

    void refusesWhatIsNoPicture()
    {
        for (const std::string &bytes :
             {std::string(), std::string("not a JPEG"), screenshot(13).substr(0, 20)}) {
            try {
                m_reader.read(bytes);
                QFAIL("read without complaint");
            } catch (const HttpError &error) {
                QCOMPARE(error.status(), 400);
                QVERIFY2(QString(error.what()).startsWith("Unsupported image: "), error.what());
            }
        }
    }

    void blankScreenReadsNothing()
    {
        QImage blank(800, 600, QImage::Format_RGB32);
        blank.fill(Qt::white);
        QCOMPARE(m_reader.read(jpegOf(blank)), "");
    }
};

QTEST_MAIN(TestScreenTextReader)
#include "TestScreenTextReader.moc"
