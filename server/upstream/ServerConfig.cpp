#include "ServerConfig.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

std::string trimmed(const std::string &text)
{
    const auto begin = text.find_first_not_of(" \t\r\n");
    if (begin == std::string::npos)
        return {};
    return text.substr(begin, text.find_last_not_of(" \t\r\n") - begin + 1);
}

bool endsWith(const std::string &text, const std::string &suffix)
{
    return text.size() >= suffix.size() &&
           text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

void dropTrailingSlashes(std::string &url)
{
    while (!url.empty() && url.back() == '/')
        url.pop_back();
}

// nlohmann's messages start with "[json.exception.parse_error.101] ", which means nothing to a
// user.
std::string withoutExceptionTag(const std::string &message)
{
    if (!message.empty() && message.front() == '[') {
        const auto end = message.find("] ");
        if (end != std::string::npos)
            return message.substr(end + 2);
    }
    return message;
}

struct Field
{
    const char *name;
    std::string ServerConfig::ChatUpstream::*member;
};

} // namespace

std::optional<std::string> ServerConfig::processEnvironment(const std::string &name)
{
    if (const char *value = std::getenv(name.c_str()))
        return std::string(value);
    return std::nullopt;
}

std::string ServerConfig::defaultPath(const Environment &environment)
{
    // The XDG base directory rules ignore a relative XDG_CONFIG_HOME.
    if (const auto config = environment("XDG_CONFIG_HOME");
        config && !config->empty() && config->front() == '/')
        return *config + "/Ovrin/server.json";
    const auto home = environment("HOME");
    return (home && !home->empty() ? *home : std::string(".")) + "/.config/Ovrin/server.json";
}

std::optional<std::string> ServerConfig::normalisedUrl(const std::string &input)
{
    const std::string url = trimmed(input);
    if (std::any_of(url.begin(), url.end(), [](unsigned char c) { return std::isspace(c); }))
        return std::nullopt;
    const auto schemeEnd = url.find("://");
    if (schemeEnd == std::string::npos)
        return std::nullopt;
    std::string scheme = url.substr(0, schemeEnd);
    std::transform(scheme.begin(), scheme.end(), scheme.begin(),
                   [](unsigned char c) { return char(std::tolower(c)); });
    if (scheme != "http" && scheme != "https")
        return std::nullopt;
    const auto hostBegin = schemeEnd + 3;
    const auto hostEnd = std::min(url.find_first_of("/?#", hostBegin), url.size());
    if (hostEnd == hostBegin || (hostEnd < url.size() && url[hostEnd] != '/'))
        return std::nullopt; // no host, or a query or fragment, which a base address never has
    const std::string host = url.substr(hostBegin, hostEnd - hostBegin);
    std::string path = url.substr(hostEnd);

    // People paste the endpoint they read about as often as the base address.
    dropTrailingSlashes(path);
    for (const char *endpoint : {"/chat/completions", "/audio/transcriptions"}) {
        if (endsWith(path, endpoint)) {
            path.resize(path.size() - std::string(endpoint).size());
            break;
        }
    }
    dropTrailingSlashes(path);
    if (endsWith(path, "/v1"))
        path.resize(path.size() - 3);
    dropTrailingSlashes(path);
    return scheme + "://" + host + path;
}

ServerConfig ServerConfig::load(const std::string &path, const Environment &environment)
{
    ServerConfig config;
    config.path = path;
    config.readFile();
    config.applyEnvironment(environment);
    config.finish();
    return config;
}

void ServerConfig::readFile()
{
    std::error_code error;
    if (!std::filesystem::exists(path, error))
        return; // offline, as intended
    std::ifstream file(path, std::ios::binary);
    if (std::filesystem::is_directory(path, error) || !file) {
        warnings.push_back(path + ": can't be read; the server works offline");
        return;
    }
    std::stringstream contents;
    contents << file.rdbuf();
    if (trimmed(contents.str()).empty())
        return;
    nlohmann::json root;
    try {
        root = nlohmann::json::parse(contents.str());
    } catch (const nlohmann::json::exception &parseError) {
        warnings.push_back(path + ": not valid JSON (" + withoutExceptionTag(parseError.what()) +
                           "); the server works offline");
        return;
    }
    if (!root.is_object()) {
        warnings.push_back(path + ": must hold a JSON object; the server works offline");
        return;
    }

    for (const auto &[name, value] : root.items()) {
        const bool isChat = name == "chat";
        if (!isChat && name != "transcription") {
            warnings.push_back(path + ": unknown setting \"" + name + "\" is ignored");
            continue;
        }
        if (!value.is_object()) {
            warnings.push_back(path + ": \"" + name +
                               "\" must be an object like {\"url\": \"http://127.0.0.1:8080\"}; " +
                               name + " stays offline");
            continue;
        }
        ChatUpstream section;
        static const Field fields[] = {{"url", &ChatUpstream::url},
                                       {"key", &ChatUpstream::key},
                                       {"model", &ChatUpstream::model},
                                       {"visionModel", &ChatUpstream::visionModel}};
        for (const auto &[fieldName, fieldValue] : value.items()) {
            const auto field = std::find_if(
                std::begin(fields), std::end(fields), [&, &fieldName = fieldName](const Field &f) {
                    return fieldName == f.name && (isChat || fieldName != "visionModel");
                });
            const std::string where = path + ": " + name + "." + fieldName;
            if (field == std::end(fields)) {
                warnings.push_back(path + ": unknown setting \"" + name + "." + fieldName +
                                   "\" is ignored");
            } else if (!fieldValue.is_string()) {
                warnings.push_back(where + " must be a text; it is ignored");
            } else {
                section.*(field->member) = trimmed(fieldValue.get<std::string>());
            }
        }
        if (!section.url.empty()) {
            if (const auto url = normalisedUrl(section.url)) {
                section.url = *url;
            } else {
                warnings.push_back(path + ": " + name + ".url \"" + section.url +
                                   "\" is not an http:// or https:// address; " + name +
                                   " stays offline");
                section.url.clear();
            }
        }
        if (isChat)
            chat = section;
        else
            transcription = section;
    }
}

void ServerConfig::applyEnvironment(const Environment &environment)
{
    // A variable that is set wins over the file; an empty *_URL turns that upstream off.
    const auto apply = [&](const char *variable, std::string &target, bool isUrl) {
        const auto value = environment(variable);
        if (!value)
            return;
        const std::string text = trimmed(*value);
        if (!isUrl || text.empty()) {
            target = text;
            return;
        }
        if (const auto url = normalisedUrl(text))
            target = *url;
        else
            warnings.push_back(std::string(variable) + ": \"" + text +
                               "\" is not an http:// or https:// address; it is ignored");
    };
    apply("OVRIN_TRANSCRIBE_URL", transcription.url, true);
    apply("OVRIN_TRANSCRIBE_KEY", transcription.key, false);
    apply("OVRIN_TRANSCRIBE_MODEL", transcription.model, false);
    apply("OVRIN_CHAT_URL", chat.url, true);
    apply("OVRIN_CHAT_KEY", chat.key, false);
    apply("OVRIN_CHAT_MODEL", chat.model, false);
    apply("OVRIN_VISION_MODEL", chat.visionModel, false);
}

void ServerConfig::finish()
{
    if (transcription.active() && transcription.model.empty())
        transcription.model = defaultTranscriptionModel;
    if (chat.active() && chat.model.empty())
        chat.model = defaultChatModel;
    if (chat.active() && chat.visionModel.empty())
        chat.visionModel = chat.model;
}

std::string ServerConfig::describe(const std::string &offlineTranscription,
                                   const std::string &screenText) const
{
    const auto at = [](const Upstream &upstream, const std::string &model) {
        return model + " at " + upstream.url + (upstream.key.empty() ? "" : ", with a key");
    };
    std::string text = "Transcription: ";
    text += transcription.active() ? at(transcription, transcription.model)
                                   : offlineTranscription + " (offline)";
    text += "\nChat: ";
    text += chat.active() ? at(chat, chat.model)
                          : "none \u2014 general questions need a language model (set \"chat\" "
                            "in " +
                                path + " or OVRIN_CHAT_URL)";
    text += "\nVision: ";
    text += chat.active() ? at(chat, chat.visionModel)
                          : "none \u2014 questions about the screen are answered from the text "
                            "read on it (set \"chat\" with a \"visionModel\" in " +
                                path + ")";
    text += "\nScreen text: " + screenText + "\n";
    return text;
}
