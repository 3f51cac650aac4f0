#pragma once

// Runs one recording of one camera: receives every grabbed frame, asks the sampling controller
// which frames to keep, copies the kept frames into the buffered sink's queue, whose writer
// thread hands them to the media writer, and reports its state and failures through signals.
//
// States: None -> Recording (start succeeded); Recording <-> Paused; Recording or Paused ->
// WaitingForQueue (stopped with frames queued) -> Stopped (last frame written); Recording or
// Paused -> Stopped (stopped with an empty queue); any -> Error (a write failed) -> Stopped
// (abortRecording). Stopped is final: the owner calls releaseResources(), then deletes the
// writer, the sampling controller and this controller, in that order.
//
// Thread-safe: onCameraBufferAvailable on the frame-delivery (grab) thread; the sampling
// controller's callbacks on that thread or on its timer thread; the sink's callees on the
// writer thread; start, pause, stop, abort, release and the statistics on the owner's (GUI)
// thread. Signals are emitted on whichever thread changes the state, outside every lock.

#include "recording/bufferedimagesink.h"
#include "recording/recordingoptions.h"
#include "recording/recordingstate.h"
#include "recording/recordingstatistics.h"

#include <QObject>
#include <QString>

#include <memory>
#include <mutex>

class IMediaImageController;
class IMediaWriter;
namespace TarpoViewerSdk {
class StreamBuffer;
}

class CRecordingController : public QObject,
                             public CBufferedImageSink::IQueueEmptyProgressCallee,
                             public CBufferedImageSink::IWriteFrameFailedCallee
{
    Q_OBJECT

public:
    // The recording states shared with the image window and its status bar.
    using ERecordingState = ::ERecordingState;

    // Copies the options, creates the sink (thread "Writer_<serial>") with QueueBufferSize as
    // capacity and installs the sampling callbacks. The sampling controller and the writer are
    // borrowed: they must live until releaseResources() has returned.
    CRecordingController(const CRecordingOptions& options,
                         IMediaImageController* samplingController, IMediaWriter* writer,
                         QObject* parent = nullptr, const QString& serial = QString());
    ~CRecordingController() override;

    // Creates the output folder, opens the writer on "<folder>/<prefix>_yyyyMMdd_hhmmsszzz" and
    // starts recording. A folder that cannot be created or a writer that cannot open is
    // reported through recordingFailure, and the state stays as it was.
    void startRecording(const QString& namePrefix);
    // Paused when true, Recording when false; only from Recording or Paused.
    void setPaused(bool paused);
    // Stops sampling; the queue is written out (WaitingForQueue) before the state becomes
    // Stopped. Only from Recording or Paused. The sampling limit calls it too.
    void stopRecording();
    // Stopped at once (after a failure, or when the device goes away).
    void abortRecording();
    // Stops sampling and the sink (its thread is joined), closes the writer and lets go of the
    // held frame. Afterwards no frame reaches the writer any more.
    void releaseResources();

    ERecordingState state() const;
    // Takes a snapshot of the counters and the state, for the recording status display.
    void updateStatistics();
    RecordingStatistics statistics() const;
    ERecordingState statisticsState() const;
    QString basePath() const;
    const CRecordingOptions& options() const { return m_options; }

    // CBufferedImageSink::IQueueEmptyProgressCallee (writer thread)
    void onQueueEmptyProgress(uint64_t remaining) override;
    // CBufferedImageSink::IWriteFrameFailedCallee (writer thread)
    void onWriteFrameFailed(const char* detail) override;
    void onMediaFileLimitReached() override;
    void onFatalMediaWriterError(const char* detail) override;

signals:
    void stateChanged(ERecordingState state);
    void waitingForQueueEmptied(bool queueEmptied = false);
    void recordingFailure(QString errorMessage, QString addlInfo);

public slots:
    // Runs on the thread that emits the camera's bufferAvailable.
    void onCameraBufferAvailable(TarpoViewerSdk::StreamBuffer* buffer);

private:
    // The sampling controller's frame callback: queues the held frame; true when queued.
    bool writeCurrentFrame();
    void setState(ERecordingState state);
    void failWrite(const QString& errorMessage, const QString& addlInfo);

    IMediaWriter* const m_writer;                      // borrowed
    IMediaImageController* const m_samplingController; // borrowed
    const CRecordingOptions m_options;
    std::unique_ptr<CBufferedImageSink> m_sink;

    // std::recursive_mutex rather than QMutex, so that ThreadSanitizer sees the synchronisation.
    mutable std::recursive_mutex m_frameLock; // guards m_heldBuffer, m_firstFramePending,
                                              // m_failed, m_resourcesReleased
    mutable std::recursive_mutex m_stateLock; // guards m_state
    TarpoViewerSdk::StreamBuffer* m_heldBuffer = nullptr; // locked while held
    bool m_firstFramePending = false;
    bool m_failed = false;
    bool m_resourcesReleased = false;
    ERecordingState m_state = RecordingState_None;

    mutable std::mutex m_statisticsMutex; // guards m_statistics, m_statisticsState, m_basePath
    RecordingStatistics m_statistics;
    ERecordingState m_statisticsState = RecordingState_None;
    QString m_basePath;
};
