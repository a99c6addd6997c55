#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

// POSTs to one OpenAI-compatible service through libcurl, with time-outs and a stall watch, so
// that a failing or silent upstream ends in an HttpError(502) naming it rather than a hang.
// Every call has its own curl handle: calls may run on several threads at once.
class UpstreamClient
{
public:
    using Clock = std::function<std::chrono::steady_clock::time_point()>;
    struct Timeouts
    {
        std::chrono::milliseconds connect{10'000};
        std::chrono::milliseconds stall{60'000}; // no byte sent or received for this long
        std::chrono::milliseconds total{300'000};
    };
    struct FormPart
    {
        std::string name;
        std::string data;
        std::string fileName; // empty for a plain field
        std::string type;
    };
    // Receives the body of a successful reply as it arrives; returning false stops the transfer.
    using BodySink = std::function<bool(std::string_view)>;

    // `service` names it in errors, e.g. "chat service"; `baseUrl` as ServerConfig normalises it.
    UpstreamClient(std::string service, std::string baseUrl, std::string key, Timeouts timeouts,
                   Clock clock = std::chrono::steady_clock::now);

    // `path` follows "/v1", e.g. "/chat/completions". False when the sink stopped the transfer.
    bool postJson(const std::string &path, const std::string &json, const BodySink &sink) const;
    bool postForm(const std::string &path, const std::vector<FormPart> &parts,
                  const BodySink &sink) const;

    // Ends every call under way and every later one (within about a second: libcurl looks in
    // that often), so that stopping the server need not wait out a silent upstream.
    static void abandonAll();

    // Throws HttpError(502, "The <service> at <base> failed: <reason>").
    [[noreturn]] void fail(const std::string &reason) const;

    const std::string &baseUrl() const { return m_baseUrl; }
    const Timeouts &timeouts() const { return m_timeouts; }

private:
    // Exactly one of `json` and `parts` is set.
    bool post(const std::string &path, const std::string *json, const std::vector<FormPart> *parts,
              const BodySink &sink) const;

    std::string m_service;
    std::string m_baseUrl;
    std::string m_key;
    Timeouts m_timeouts;
    Clock m_clock;
};
