#include "recording/framebasedmediaimagecontroller.h"

CFrameBasedMediaImageController::CFrameBasedMediaImageController(bool limitEnabled,
                                                                 int32_t frameLimit,
                                                                 int32_t sampleRate)
    // The dialog offers 1 to 99999; a stored rate below 1 records every frame rather than
    // dividing by zero.
    : m_limitEnabled(limitEnabled), m_frameLimit(frameLimit),
      m_sampleRate(sampleRate < 1 ? 1 : sampleRate)
{
}

void CFrameBasedMediaImageController::onNewFrame()
{
    const uint32_t grabbed = ++m_grabbedCounter;
    if (m_sampleRate == 1 || grabbed % uint32_t(m_sampleRate) == 1) {
        if (m_frameCallback && m_frameCallback())
            ++m_recordedCounter;
    }
    if (m_limitEnabled && m_frameLimit > 0 && m_recordedCounter >= uint32_t(m_frameLimit) &&
        m_limitCallback)
        m_limitCallback();
}
