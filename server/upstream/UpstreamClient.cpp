#include "UpstreamClient.h"

#include "HttpError.h"

#include <curl/curl.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <atomic>
#include <exception>
#include <memory>
#include <mutex>

namespace {

constexpr std::size_t maxErrorBody = 64 * 1024;
constexpr std::size_t maxReasonLength = 300;

struct Transfer
{
    CURL *curl = nullptr;
    const UpstreamClient::BodySink *sink = nullptr;
    UpstreamClient::Clock clock;
    std::chrono::milliseconds stall{};
    std::chrono::steady_clock::time_point lastActivity;
    curl_off_t received = 0;
    curl_off_t sent = 0;
    long status = 0;
    std::string errorBody;
    bool stalled = false;
    bool stopped = false;
    bool abandoned = false;
    std::exception_ptr exception;
};

size_t onBody(char *data, size_t size, size_t count, void *user)
{
    auto &transfer = *static_cast<Transfer *>(user);
    const size_t bytes = size * count;
    if (transfer.status == 0)
        curl_easy_getinfo(transfer.curl, CURLINFO_RESPONSE_CODE, &transfer.status);
    if (transfer.status < 200 || transfer.status >= 300) {
        // Kept for the error text only.
        transfer.errorBody.append(data, std::min(bytes, maxErrorBody - transfer.errorBody.size()));
        return bytes;
    }
    try {
        if ((*transfer.sink)(std::string_view(data, bytes)))
            return bytes;
        transfer.stopped = true;
    } catch (...) {
        // Exceptions must not unwind through libcurl.
        transfer.exception = std::current_exception();
    }
    return CURL_WRITEFUNC_ERROR;
}

std::atomic<bool> abandoning{false};

int onProgress(void *user, curl_off_t, curl_off_t received, curl_off_t, curl_off_t sent)
{
    auto &transfer = *static_cast<Transfer *>(user);
    if (abandoning.load()) {
        transfer.abandoned = true;
        return 1;
    }
    const auto now = transfer.clock();
    if (received != transfer.received || sent != transfer.sent) {
        transfer.received = received;
        transfer.sent = sent;
        transfer.lastActivity = now;
        return 0;
    }
    if (now - transfer.lastActivity >= transfer.stall) {
        transfer.stalled = true;
        return 1;
    }
    return 0;
}

std::string shortened(std::string text)
{
    const auto begin = text.find_first_not_of(" \t\r\n");
    text = begin == std::string::npos ? std::string() : text.substr(begin);
    if (const auto end = text.find_first_of("\r\n"); end != std::string::npos)
        text.resize(end);
    if (text.size() > maxReasonLength)
        text = text.substr(0, maxReasonLength) + "…";
    return text;
}

// The human part of an error reply: OpenAI's {"error": {"message"}}, or what other
// compatible servers use instead.
std::string errorMessage(const std::string &body)
{
    const auto reply = nlohmann::json::parse(body, nullptr, false);
    if (reply.is_discarded())
        return body.starts_with('<') ? std::string() : shortened(body);
    if (!reply.is_object())
        return {};
    const auto text = [](const nlohmann::json &value) {
        return value.is_string() ? shortened(value.get<std::string>()) : std::string();
    };
    if (const auto error = reply.find("error"); error != reply.end()) {
        if (error->is_object() && error->contains("message"))
            return text(error->at("message"));
        return text(*error);
    }
    for (const char *field : {"message", "detail"})
        if (const auto value = reply.find(field); value != reply.end())
            return text(*value);
    return {};
}

std::string seconds(std::chrono::milliseconds duration)
{
    const auto count = duration.count();
    if (count % 1000 == 0)
        return std::to_string(count / 1000) + " s";
    return std::to_string(count / 1000) + "." + std::to_string(count % 1000 / 100) + " s";
}

} // namespace

UpstreamClient::UpstreamClient(std::string service, std::string baseUrl, std::string key,
                               Timeouts timeouts, Clock clock)
    : m_service(std::move(service)), m_baseUrl(std::move(baseUrl)), m_key(std::move(key)),
      m_timeouts(timeouts), m_clock(std::move(clock))
{
    static std::once_flag initialised;
    std::call_once(initialised, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

bool UpstreamClient::postJson(const std::string &path, const std::string &json,
                              const BodySink &sink) const
{
    return post(path, &json, nullptr, sink);
}

bool UpstreamClient::postForm(const std::string &path, const std::vector<FormPart> &parts,
                              const BodySink &sink) const
{
    return post(path, nullptr, &parts, sink);
}

void UpstreamClient::fail(const std::string &reason) const
{
    throw HttpError(502, "The " + m_service + " at " + m_baseUrl + " failed: " + reason);
}

void UpstreamClient::abandonAll()
{
    abandoning = true;
}

bool UpstreamClient::post(const std::string &path, const std::string *json,
                          const std::vector<FormPart> *parts, const BodySink &sink) const
{
    const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> handle(curl_easy_init(),
                                                                     curl_easy_cleanup);
    if (!handle)
        fail("the HTTP library could not start");
    CURL *curl = handle.get();
    std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> headers(nullptr,
                                                                        curl_slist_free_all);
    const auto addHeader = [&](const std::string &header) {
        headers.reset(curl_slist_append(headers.release(), header.c_str()));
    };
    std::unique_ptr<curl_mime, decltype(&curl_mime_free)> mime(nullptr, curl_mime_free);

    const std::string url = m_baseUrl + "/v1" + path;
    char errorText[CURL_ERROR_SIZE] = {};
    Transfer transfer;
    transfer.curl = curl;
    transfer.sink = &sink;
    transfer.clock = m_clock;
    transfer.stall = m_timeouts.stall;
    transfer.lastActivity = m_clock();

    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L); // signals are not thread-safe
    curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT_MS, long(m_timeouts.connect.count()));
    curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, long(m_timeouts.total.count()));
    curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, errorText);
    curl_easy_setopt(curl, CURLOPT_USERAGENT, "ovrin-server");
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, onBody);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &transfer);
    curl_easy_setopt(curl, CURLOPT_XFERINFOFUNCTION, onProgress);
    curl_easy_setopt(curl, CURLOPT_XFERINFODATA, &transfer);
    curl_easy_setopt(curl, CURLOPT_NOPROGRESS, 0L);

    if (!m_key.empty())
        addHeader("Authorization: Bearer " + m_key);
    addHeader("Expect:"); // no one-second wait for "100 Continue" before a large upload
    if (json) {
        addHeader("Content-Type: application/json");
        curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE, curl_off_t(json->size()));
        curl_easy_setopt(curl, CURLOPT_POSTFIELDS, json->data());
    } else {
        mime.reset(curl_mime_init(curl));
        for (const FormPart &part : *parts) {
            curl_mimepart *field = curl_mime_addpart(mime.get());
            curl_mime_name(field, part.name.c_str());
            curl_mime_data(field, part.data.data(), part.data.size());
            if (!part.fileName.empty())
                curl_mime_filename(field, part.fileName.c_str());
            if (!part.type.empty())
                curl_mime_type(field, part.type.c_str());
        }
        curl_easy_setopt(curl, CURLOPT_MIMEPOST, mime.get());
    }
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers.get());

    const CURLcode result = curl_easy_perform(curl);
    if (transfer.exception)
        std::rethrow_exception(transfer.exception);
    if (transfer.stopped)
        return false;
    if (transfer.abandoned)
        throw HttpError(503, "The server is stopping; try again once it has restarted.");
    if (transfer.stalled)
        fail("it sent nothing for " + seconds(m_timeouts.stall));
    if (result != CURLE_OK)
        fail(errorText[0] ? std::string(errorText) : std::string(curl_easy_strerror(result)));
    long status = 0;
    curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
    if (status < 200 || status >= 300) {
        const std::string message = errorMessage(transfer.errorBody);
        fail("HTTP " + std::to_string(status) + (message.empty() ? "" : ": " + message));
    }
    return true;
}
