#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

// Which upstream services the server uses: server.json, then the environment over it.
// Without either, every engine is the offline one.
class ServerConfig
{
public:
    struct Upstream
    {
        std::string url; // base address without "/v1" or a trailing slash; empty: not set
        std::string key;
        std::string model;

        bool active() const { return !url.empty(); }
    };
    struct ChatUpstream : Upstream
    {
        std::string visionModel; // the chat model unless set
    };
    // The value of an environment variable, or nothing when it is unset.
    using Environment = std::function<std::optional<std::string>(const std::string &)>;

    static constexpr const char *defaultTranscriptionModel = "whisper-1";
    static constexpr const char *defaultChatModel = "gpt-4o-mini";

    static std::optional<std::string> processEnvironment(const std::string &name);
    // $XDG_CONFIG_HOME/Ovrin/server.json, else ~/.config/Ovrin/server.json.
    static std::string defaultPath(const Environment &environment = processEnvironment);
    // Never fails: a missing file means offline, and whatever is broken is left out and
    // described in `warnings`.
    static ServerConfig load(const std::string &path,
                             const Environment &environment = processEnvironment);

    // "http://host:port" or "https://host/prefix" from what a user typed, or nothing when it
    // is not an http(s) address.
    static std::optional<std::string> normalisedUrl(const std::string &url);

    // One line per engine for `ovrin-server --check`. The offline engines describe themselves,
    // e.g. "pocketsphinx (en-us)" and "tesseract 5.3.0 (eng)".
    std::string describe(const std::string &offlineTranscription,
                         const std::string &screenText) const;

    std::string path;
    Upstream transcription;
    ChatUpstream chat;
    std::vector<std::string> warnings; // each names the file or variable and what is wrong

private:
    void readFile();
    void applyEnvironment(const Environment &environment);
    void finish();
};
