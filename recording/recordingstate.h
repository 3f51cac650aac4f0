#pragma once

// States of one recording, shared by the recording controller, the image window and its
// recording status bar.

#include <QMetaType>

enum ERecordingState
{
    RecordingState_None = 0,
    RecordingState_Recording = 1,
    RecordingState_Paused = 2,
    RecordingState_WaitingForQueue = 3, // stopped; the writer drains the queue
    RecordingState_Stopped = 4,
    RecordingState_Error = 5
};

Q_DECLARE_METATYPE(ERecordingState)
