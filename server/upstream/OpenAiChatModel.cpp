#include "OpenAiChatModel.h"

#include <nlohmann/json.hpp>
#include <sodium.h>

#include <algorithm>

namespace {

std::string base64(const std::string &bytes)
{
    const int variant = sodium_base64_VARIANT_ORIGINAL;
    std::string encoded(sodium_base64_ENCODED_LEN(bytes.size(), variant), '\0');
    sodium_bin2base64(encoded.data(), encoded.size(),
                      reinterpret_cast<const unsigned char *>(bytes.data()), bytes.size(), variant);
    encoded.resize(encoded.size() - 1); // the terminating zero
    return encoded;
}

std::string shortened(const std::string &text)
{
    return text.size() > 200 ? text.substr(0, 200) + "…" : text;
}

} // namespace

OpenAiChatModel::OpenAiChatModel(const ServerConfig::ChatUpstream &upstream,
                                 UpstreamClient::Timeouts timeouts)
    : m_client("chat service", upstream.url, upstream.key, timeouts), m_model(upstream.model),
      m_visionModel(upstream.visionModel.empty() ? upstream.model : upstream.visionModel)
{}

std::string OpenAiChatModel::description() const
{
    return m_model + " at " + m_client.baseUrl();
}

std::string OpenAiChatModel::requestBody(const std::vector<Message> &messages) const
{
    const bool withImage =
        std::any_of(messages.begin(), messages.end(),
                    [](const Message &message) { return !message.jpeg.empty(); });
    nlohmann::json list = nlohmann::json::array();
    for (const Message &message : messages) {
        nlohmann::json entry = {{"role", message.role}};
        if (message.jpeg.empty()) {
            entry["content"] = message.content;
        } else {
            nlohmann::json parts = nlohmann::json::array();
            if (!message.content.empty())
                parts.push_back({{"type", "text"}, {"text", message.content}});
            const nlohmann::json imageUrl = {
                {"url", "data:image/jpeg;base64," + base64(message.jpeg)}};
            parts.push_back({{"type", "image_url"}, {"image_url", imageUrl}});
            entry["content"] = std::move(parts);
        }
        list.push_back(std::move(entry));
    }
    const nlohmann::json body = {
        {"model", withImage ? m_visionModel : m_model}, {"messages", list}, {"stream", true}};
    // Text read off a screen is not always valid UTF-8.
    return body.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::string OpenAiChatModel::complete(const std::vector<Message> &messages,
                                      const DeltaSink &onDelta)
{
    std::string answer;
    std::string pending;    // an incomplete line
    std::string otherLines; // a plain JSON reply from a server that does not stream
    bool sawEvent = false;
    bool done = false;

    // Returns false when the listener wants no more.
    const auto handleEvent = [&](const std::string &data) {
        sawEvent = true;
        if (data == "[DONE]") {
            done = true;
            return true;
        }
        const auto event = nlohmann::json::parse(data, nullptr, false);
        if (event.is_discarded() || !event.is_object())
            m_client.fail("it sent an event that is not JSON: " + shortened(data));
        if (const auto error = event.find("error"); error != event.end()) {
            const auto &message =
                error->is_object() && error->contains("message") ? error->at("message") : *error;
            m_client.fail(message.is_string() ? message.get<std::string>() : message.dump());
        }
        const auto choices = event.find("choices");
        if (choices == event.end() || !choices->is_array() || choices->empty())
            return true; // e.g. a usage summary
        const auto &choice = choices->front();
        if (!choice.is_object() || !choice.contains("delta") || !choice["delta"].is_object())
            return true;
        const auto &content = choice["delta"].value("content", nlohmann::json());
        if (!content.is_string() || content.get_ref<const std::string &>().empty())
            return true;
        const std::string &piece = content.get_ref<const std::string &>();
        answer += piece;
        return onDelta(piece);
    };
    const auto handleLine = [&](std::string line) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (done || line.empty() || line.front() == ':')
            return true;
        if (line.starts_with("data:")) {
            const auto start = line.find_first_not_of(' ', 5);
            return handleEvent(start == std::string::npos ? std::string() : line.substr(start));
        }
        if (line.starts_with("event:") || line.starts_with("id:") || line.starts_with("retry:"))
            return true;
        if (otherLines.size() < (1u << 20))
            otherLines += line + '\n';
        return true;
    };
    const UpstreamClient::BodySink sink = [&](std::string_view bytes) {
        pending.append(bytes);
        std::size_t start = 0;
        for (auto end = pending.find('\n'); end != std::string::npos;
             end = pending.find('\n', start)) {
            const bool more = handleLine(pending.substr(start, end - start));
            start = end + 1;
            if (!more) {
                pending.clear();
                return false;
            }
        }
        pending.erase(0, start);
        return true;
    };

    if (!m_client.postJson("/chat/completions", requestBody(messages), sink))
        return answer;
    if (!pending.empty() && !handleLine(pending))
        return answer;
    if (sawEvent)
        return answer;

    const auto reply = nlohmann::json::parse(otherLines, nullptr, false);
    const nlohmann::json::json_pointer contentPath("/choices/0/message/content");
    if (reply.is_discarded() || !reply.contains(contentPath) || !reply.at(contentPath).is_string())
        m_client.fail("its reply is not a chat completion: " + shortened(otherLines));
    answer = reply.at(contentPath).get<std::string>();
    if (!answer.empty())
        onDelta(answer);
    return answer;
}
