#pragma once

#include "platform/TextElement.h"

struct _AtspiAccessible;

// An accessible of another application over AT-SPI. The proxy stays bound to that
// application's object, so reads never follow the focus to another field.
class AtspiTextElement : public TextElement
{
public:
    // Takes over one reference to `accessible`.
    explicit AtspiTextElement(_AtspiAccessible *accessible);
    ~AtspiTextElement() override;
    AtspiTextElement(const AtspiTextElement &) = delete;
    AtspiTextElement &operator=(const AtspiTextElement &) = delete;

    std::optional<QString> value() override;
    bool isSecret() const override { return m_secret; }

private:
    _AtspiAccessible *m_accessible;
    bool m_secret = false;
};
