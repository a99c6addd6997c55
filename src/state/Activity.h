#pragma once

#include <QObject>
#include <QString>

// What the capture loop is doing, as the menu, the HUD and the pages show it.
namespace ActivityType {
Q_NAMESPACE
enum class Activity { idle, recording, transcribing };
Q_ENUM_NS(Activity)
} // namespace ActivityType

using Activity = ActivityType::Activity;

// "Idle", "Recording…", "Transcribing…".
QString activityDisplayText(Activity activity);
