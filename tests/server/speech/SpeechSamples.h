#pragma once

#include "MonoAudio.h"
#include "SpeechReference.h"
#include "support/TestEnvironment.h"

#include <QString>
#include <QStringList>

#include <string>

// Skips (fails under CI) a test that needs the model, flite and sox when one is missing.
#define OVRIN_REQUIRE_SPEECH_TOOLS()                                                               \
    do {                                                                                           \
        OVRIN_REQUIRE_SERVICE(SpeechSamples::haveModel(),                                          \
                              "the pocketsphinx en-us model (package pocketsphinx-en-us)");        \
        OVRIN_REQUIRE_SERVICE(SpeechSamples::haveFlite(), "flite (package flite)");                \
        OVRIN_REQUIRE_SERVICE(SpeechSamples::haveSox(), "sox (package sox)");                      \
    } while (false)

// Test speech made on the spot with flite (and shaped with sox), so nothing binary is kept in
// the repository.
namespace SpeechSamples {

bool haveFlite();
bool haveSox();
bool haveModel(); // the pocketsphinx en-us model

// Speaks `text` into a 16-bit WAV file at `path`; false (with a warning) when flite fails.
bool speak(const QString &text, const QString &path, const QString &voice = QStringLiteral("slt"));
// Runs sox with space-separated `arguments`; false (with a warning) when it fails.
bool sox(const QString &arguments);

std::string readFile(const QString &path);
void writeFile(const QString &path, const std::string &bytes);

} // namespace SpeechSamples
