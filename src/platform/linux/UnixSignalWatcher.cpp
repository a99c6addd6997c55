#include "platform/linux/UnixSignalWatcher.h"

#include <QSocketNotifier>

#include <csignal>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

int g_signalSockets[2] = {-1, -1};

void handleSignal(int signalNumber)
{
    const unsigned char byte = static_cast<unsigned char>(signalNumber);
    [[maybe_unused]] auto written = ::write(g_signalSockets[0], &byte, 1);
}

} // namespace

UnixSignalWatcher::UnixSignalWatcher(QObject *parent) : QObject(parent)
{
    if (g_signalSockets[0] == -1 &&
        ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, g_signalSockets) != 0)
        return;
    ::fcntl(g_signalSockets[0], F_SETFL, O_NONBLOCK);
    m_notifier = new QSocketNotifier(g_signalSockets[1], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &UnixSignalWatcher::readSignal);

    struct sigaction action = {};
    action.sa_handler = handleSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (int sig : {SIGTERM, SIGINT, SIGHUP})
        ::sigaction(sig, &action, nullptr);
}

UnixSignalWatcher::~UnixSignalWatcher()
{
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    for (int sig : {SIGTERM, SIGINT, SIGHUP})
        ::sigaction(sig, &action, nullptr);
}

void UnixSignalWatcher::readSignal()
{
    unsigned char byte = 0;
    if (::read(g_signalSockets[1], &byte, 1) == 1)
        Q_EMIT terminationRequested(byte);
}
