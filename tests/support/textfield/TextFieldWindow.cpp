// A text field in a process of its own, for tests that reach into "another application":
//   ovrin_test_textfield TEXT SELECTION_START SELECTION_LENGTH
#include <QApplication>
#include <QLineEdit>
#include <QTimer>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    const QStringList args = app.arguments();
    QLineEdit field(args.value(1));
    field.setWindowTitle(QStringLiteral("ovrin test field"));
    field.show();
    field.activateWindow();
    field.raise();
    field.setFocus();
    field.setSelection(args.value(2).toInt(), args.value(3).toInt());
    // Focus may arrive after the first show without a window manager.
    QTimer::singleShot(200, &field, [&field] { field.activateWindow(); });
    return app.exec();
}
