// ovrin-server: the companion backend of Ovrin on 127.0.0.1.
#include "Secrets.h"
#include "ServerApp.h"
#include "UpstreamClient.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>
#include <thread>

#include <pthread.h>

namespace {

const char *const usage =
    "Usage: ovrin-server [--port N] [--data DIR] [--check]\n"
    "\n"
    "Serves the Ovrin backend on http://127.0.0.1 (port 8787 by default; it never\n"
    "listens on other addresses).\n"
    "  --port N    another port, for tests (0 picks a free one and prints it)\n"
    "  --data DIR  where the database and recordings live\n"
    "              (default: $XDG_DATA_HOME/Ovrin/server)\n"
    "  --check     say which speech, chat and screen engines are active, and exit\n"
    "\n"
    "Upstream services are set in $XDG_CONFIG_HOME/Ovrin/server.json or with\n"
    "OVRIN_TRANSCRIBE_URL/_KEY/_MODEL, OVRIN_CHAT_URL/_KEY/_MODEL and OVRIN_VISION_MODEL.\n";

std::string defaultDataDirectory()
{
    if (const char *data = std::getenv("XDG_DATA_HOME"); data && *data)
        return std::string(data) + "/Ovrin/server";
    const char *home = std::getenv("HOME");
    return std::string(home ? home : ".") + "/.local/share/Ovrin/server";
}

} // namespace

int main(int argc, char *argv[])
{
    int port = 8787;
    bool check = false;
    std::string data = defaultDataDirectory();
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--help" || arg == "-h") {
            std::cout << usage;
            return 0;
        }
        if (arg == "--check") {
            check = true;
            continue;
        }
        if ((arg == "--port" || arg == "--data") && i + 1 < argc) {
            const std::string value = argv[++i];
            if (arg == "--data") {
                data = value;
                continue;
            }
            char *end = nullptr;
            const long parsed = std::strtol(value.c_str(), &end, 10);
            if (*end || parsed < 0 || parsed > 65535) {
                std::cerr << "ovrin-server: --port needs a number from 0 to 65535\n";
                return 2;
            }
            port = int(parsed);
            continue;
        }
        std::cerr << "ovrin-server: unknown argument \"" << arg << "\"\n\n" << usage;
        return 2;
    }

    ServerConfig config = ServerConfig::load(ServerConfig::defaultPath());
    for (const std::string &warning : config.warnings)
        std::cerr << "ovrin-server: " << warning << '\n';
    if (check) {
        std::cout << "Configuration: " << config.path << '\n'
                  << Engines(std::move(config)).describe();
        return 0;
    }

    // Blocked before any thread starts, so only the waiting thread below receives them.
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    sigaddset(&blocked, SIGINT);
    pthread_sigmask(SIG_BLOCK, &blocked, nullptr);

    if (!Secrets::initialise()) {
        std::cerr << "ovrin-server: the crypto library could not start\n";
        return 1;
    }
    std::error_code error;
    std::filesystem::create_directories(data, error);
    if (error) {
        std::cerr << "ovrin-server: can't create " << data << ": " << error.message() << '\n';
        return 1;
    }
    try {
        ServerApp app(data, std::move(config));
        const int bound = app.bind(port);
        if (bound < 0) {
            std::cerr << "ovrin-server: can't listen on 127.0.0.1:" << port
                      << " (is another server running?)\n";
            return 1;
        }
        // SIGTERM and SIGINT are taken by a thread of their own: stopping the server is
        // not something a signal handler may do.
        sigset_t stopSignals;
        sigemptyset(&stopSignals);
        sigaddset(&stopSignals, SIGTERM);
        sigaddset(&stopSignals, SIGINT);
        std::thread([&app, stopSignals] {
            int signal = 0;
            sigwait(&stopSignals, &signal);
            UpstreamClient::abandonAll();
            app.stop();
        }).detach();
        std::cout << "ovrin-server listening on http://127.0.0.1:" << bound << ", data in " << data
                  << std::endl;
        app.listen();
    } catch (const std::exception &e) {
        std::cerr << "ovrin-server: " << e.what() << '\n';
        return 1;
    }
    return 0;
}
