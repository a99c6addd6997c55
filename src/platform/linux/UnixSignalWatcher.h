#pragma once

#include <QObject>

class QSocketNotifier;

// Turns SIGTERM, SIGINT and SIGHUP into a Qt signal on the main thread (self-pipe), so the
// application can shut down through its normal path instead of dying mid-write.
class UnixSignalWatcher : public QObject
{
    Q_OBJECT
public:
    explicit UnixSignalWatcher(QObject *parent = nullptr);
    ~UnixSignalWatcher() override;

Q_SIGNALS:
    void terminationRequested(int signalNumber);

private:
    void readSignal();
    QSocketNotifier *m_notifier = nullptr;
};
