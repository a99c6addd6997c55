#pragma once

#include <QObject>

#include <memory>

class QQmlApplicationEngine;
class QQuickWindow;

// The main window: its QML scene, loaded once, shown and brought forward on demand.
class MainWindow : public QObject
{
    Q_OBJECT
public:
    explicit MainWindow(QObject *parent = nullptr);
    ~MainWindow() override;

    // Loads the scene; false (with a warning) when it could not be made.
    bool load();
    // Shows the window and asks the window manager to bring it forward.
    void show();
    // Null before load().
    QQuickWindow *window() const { return m_window; }
    QQmlApplicationEngine *engine() const { return m_engine.get(); }

private:
    std::unique_ptr<QQmlApplicationEngine> m_engine;
    QQuickWindow *m_window = nullptr;
};
