#include "audio/Sounds.h"

#include "core/ProcessWide.h"

#include <QCoreApplication>
#include <QSoundEffect>
#include <QUrl>

Sounds &Sounds::shared()
{
    return processWide<Sounds>([] { return new Sounds(); });
}

Sounds::Sounds(QObject *parent) : QObject(parent) {}

Sounds::~Sounds() = default;

QSoundEffect &Sounds::effect(Sound sound)
{
    static const char *const names[] = {"start", "stop", "done", "fail"};
    const auto index = static_cast<std::size_t>(sound);
    // Created on first use, so an application that never plays a cue opens no output.
    if (!m_effects[index]) {
        m_effects[index] = std::make_unique<QSoundEffect>();
        m_effects[index]->setSource(
            QUrl(QStringLiteral("qrc:/ovrin/cues/%1.wav").arg(QLatin1String(names[index]))));
    }
    return *m_effects[index];
}

void Sounds::play(Sound sound)
{
    QSoundEffect &cue = effect(sound);
    cue.stop();
    cue.play();
}
