#pragma once

// Levels of the message log. 32 and 64 are both shown as information.

#include <QMetaType>

namespace TarpoViewer {

enum LogLevel
{
    Debug = 16,
    Information = 32,
    InformationHigh = 64,
    Warning = 128,
    Error = 256,
    Critical = 512
};

} // namespace TarpoViewer

Q_DECLARE_METATYPE(TarpoViewer::LogLevel)
