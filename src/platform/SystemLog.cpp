#include "platform/SystemLog.h"

SystemLog::~SystemLog() = default;
