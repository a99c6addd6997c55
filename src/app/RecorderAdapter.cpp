#include "app/RecorderAdapter.h"

#include "audio/AudioRecorder.h"
#include "core/DescribedError.h"

void RecorderAdapter::setLevelHandler(std::function<void(float)> handler)
{
    m_recorder.onLevel = std::move(handler);
}

bool RecorderAdapter::start(QString &errorDescription)
{
    try {
        m_recorder.start();
        return true;
    } catch (...) {
        errorDescription = DescribedError::describe(std::current_exception());
        return false;
    }
}

std::optional<QByteArray> RecorderAdapter::stop()
{
    return m_recorder.stop();
}
