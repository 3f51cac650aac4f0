#include "recording/recordingcontroller.h"

#include "genapi/genicamexception.h"
#include "messagelog/messagelog.h"
#include "qtbase/messages.h"
#include "recording/imediaimagecontroller.h"
#include "recording/imediawriter.h"
#include "trace/trace.h"
#include "viewersdk/streambuffer.h"

#include <QDateTime>
#include <QDir>

#include <boost/bind/bind.hpp>

#include <new>
#include <stdexcept>

namespace {

const char* const kCategory = "Recording";

void registerMetaTypes()
{
    // Queued deliveries of stateChanged need the type under both names the connections use.
    static const bool registered = [] {
        qRegisterMetaType<ERecordingState>("ERecordingState");
        qRegisterMetaType<ERecordingState>("CRecordingController::ERecordingState");
        return true;
    }();
    (void)registered;
}

void logError(const char* source, const QString& message)
{
    TarpoViewer::postLogMessage(TarpoViewer::Error, QString::fromLatin1(source), message);
}

// Bytes of the frame a buffer holds now: its lines, not the whole allocation.
size_t frameBytes(const TarpoViewerSdk::StreamBuffer* buffer)
{
    try {
        const size_t frame = Tarpo::ComputeBufferSize(
            buffer->pixelType(), uint32_t(std::max(buffer->width(), 0)),
            uint32_t(std::max(buffer->height(), 0)), uint32_t(std::max(buffer->paddingX(), 0)));
        return std::min<size_t>(frame, buffer->size());
    } catch (const std::invalid_argument&) {
        return buffer->size(); // the writer's converter will say what is wrong with it
    }
}

} // namespace

CRecordingController::CRecordingController(const CRecordingOptions& options,
                                           IMediaImageController* samplingController,
                                           IMediaWriter* writer, QObject* parent,
                                           const QString& serial)
    : QObject(parent), m_writer(writer), m_samplingController(samplingController),
      m_options(options)
{
    registerMetaTypes();
    const std::string threadName =
        serial.isEmpty() ? std::string("Writer") : "Writer_" + serial.toStdString();
    m_sink = std::make_unique<CBufferedImageSink>(m_writer, m_options.QueueBufferSize, threadName);
    m_sink->setWriteFrameFailedCallee(this);
    m_samplingController->setFrameCallback(
        boost::bind(&CRecordingController::writeCurrentFrame, this));
    m_samplingController->setLimitCallback(boost::bind(&CRecordingController::stopRecording, this));
}

CRecordingController::~CRecordingController()
{
    // The sink's thread ends with the sink; a frame still held goes back to its camera.
    m_sink.reset();
    std::lock_guard<std::recursive_mutex> lock(m_frameLock);
    if (m_heldBuffer) {
        m_heldBuffer->unlock();
        m_heldBuffer = nullptr;
    }
}

CRecordingController::ERecordingState CRecordingController::state() const
{
    std::lock_guard<std::recursive_mutex> lock(m_stateLock);
    return m_state;
}

void CRecordingController::setState(ERecordingState newState)
{
    {
        std::lock_guard<std::recursive_mutex> lock(m_stateLock);
        // Stopped is final: a late drain report or a second stop must not bring a finished
        // recording back.
        if (newState == m_state || m_state == RecordingState_Stopped)
            return;
        m_state = newState;
    }
    // Outside the lock: receivers call back into the controller.
    TARPO_TRACE(kCategory, "Before emit state changed. %d", int(newState));
    emit stateChanged(newState);
    TARPO_TRACE(kCategory, "After emit state changed. %d", int(newState));
}

void CRecordingController::startRecording(const QString& namePrefix)
{
    TARPO_TRACE_SCOPE(kCategory, "CRecordingController::startRecording");
    {
        std::lock_guard<std::recursive_mutex> lock(m_frameLock);
        m_failed = false;
    }
    TARPO_TRACE(kCategory, "%s", m_options.toLogText().c_str());

    const QString folder = QString::fromStdString(m_options.OutputFolder);
    if (folder.isEmpty() || !QDir().mkpath(folder)) {
        const QString message = tr("The output folder %1 could not be created.").arg(folder);
        logError("CRecordingController::startRecording", message);
        emit recordingFailure(message, QString());
        return;
    }
    QString basePath = folder;
    if (!basePath.endsWith(QDir::separator()) && !basePath.endsWith('/'))
        basePath += QDir::separator();
    // A camera name with a slash would point into another folder.
    QString prefix = namePrefix;
    prefix.replace('/', '_');
    basePath += prefix + "_" + QDateTime::currentDateTime().toString("yyyyMMdd_hhmmsszzz");
    {
        std::lock_guard<std::mutex> lock(m_statisticsMutex);
        m_basePath = basePath;
    }

    try {
        m_writer->Open(basePath.toStdString());
    } catch (const GenICam::RuntimeException& e) {
        emit recordingFailure(QString::fromUtf8(e.GetDescription()), QString::fromUtf8(e.what()));
        return;
    } catch (const GenICam::GenericException& e) {
        logError("CRecordingController::startRecording", QString::fromUtf8(e.what()));
        emit recordingFailure(QString::fromUtf8(e.GetDescription()), QString::fromUtf8(e.what()));
        return;
    } catch (const std::exception& e) {
        logError("CRecordingController::startRecording", QString::fromUtf8(e.what()));
        emit recordingFailure(QString::fromUtf8(e.what()), QString());
        return;
    } catch (...) {
        const QString message = unspecifiedExceptionText("CRecordingController::startRecording");
        logError("CRecordingController::startRecording", message);
        emit recordingFailure(message, QString());
        return;
    }

    {
        // Before the state: the first frame that sees Recording must start the sampling.
        std::lock_guard<std::recursive_mutex> lock(m_frameLock);
        m_firstFramePending = true;
    }
    setState(RecordingState_Recording);
}

void CRecordingController::setPaused(bool paused)
{
    const ERecordingState current = state();
    if (current != RecordingState_Recording && current != RecordingState_Paused)
        return;
    setState(paused ? RecordingState_Paused : RecordingState_Recording);
}

void CRecordingController::stopRecording()
{
    TARPO_TRACE_SCOPE(kCategory, "CRecordingController::stopRecording");
    const ERecordingState current = state();
    if (current != RecordingState_Recording && current != RecordingState_Paused)
        return;
    m_samplingController->stop();
    if (m_sink->queuedCount() == 0) {
        setState(RecordingState_Stopped);
        return;
    }
    // WaitingForQueue is announced before the sink may report the drain, so that its Stopped
    // can never overtake it; a queue that emptied in between ends the recording here.
    setState(RecordingState_WaitingForQueue);
    if (!m_sink->waitForQueueEmpty(this))
        setState(RecordingState_Stopped);
}

void CRecordingController::abortRecording()
{
    TARPO_TRACE_SCOPE(kCategory, "CRecordingController::abortRecording");
    {
        std::lock_guard<std::recursive_mutex> lock(m_frameLock);
        if (state() == RecordingState_Stopped)
            return;
    }
    setState(RecordingState_Stopped);
}

void CRecordingController::releaseResources()
{
    TARPO_TRACE_SCOPE(kCategory, "CRecordingController::releaseResources");
    TarpoViewerSdk::StreamBuffer* held = nullptr;
    {
        std::lock_guard<std::recursive_mutex> lock(m_frameLock);
        m_resourcesReleased = true;
        m_samplingController->stop();
        m_sink->stop();
        if (m_writer->IsOpen()) {
            try {
                m_writer->Close();
            } catch (const GenICam::GenericException& e) {
                TarpoViewer::postLogMessage(TarpoViewer::Warning,
                                          "CRecordingController::releaseResources",
                                          QString::fromUtf8(e.GetDescription()));
            }
        }
        held = m_heldBuffer;
        m_heldBuffer = nullptr;
    }
    // Unlocked outside the frame lock: the last unlock takes the camera's lock, which the grab
    // thread holds while it waits for the frame lock.
    if (held) {
        TARPO_TRACE(kCategory, "releaseResources: Release buffer %p", static_cast<void*>(held));
        held->unlock();
    }
}

void CRecordingController::onCameraBufferAvailable(TarpoViewerSdk::StreamBuffer* buffer)
{
    if (!buffer || state() != RecordingState_Recording)
        return; // paused, waiting and stopped recordings drop frames silently
    std::lock_guard<std::recursive_mutex> lock(m_frameLock);
    // Checked again under the lock: the teardown may have begun since.
    if (m_resourcesReleased || state() != RecordingState_Recording)
        return;
    TARPO_TRACE(kCategory, "onCameraBufferAvailable() New buffer %p", static_cast<void*>(buffer));
    if (m_heldBuffer) {
        TARPO_TRACE(kCategory, "onCameraBufferAvailable: Release buffer %p",
                    static_cast<void*>(m_heldBuffer));
        m_heldBuffer->unlock();
    }
    buffer->lock();
    m_heldBuffer = buffer;
    if (m_firstFramePending) {
        // Time-based sampling starts its clock at the first frame, not at the start command.
        m_firstFramePending = false;
        m_samplingController->start();
    }
    // May call writeCurrentFrame, and stopRecording at the limit, on this thread.
    m_samplingController->onNewFrame();
}

bool CRecordingController::writeCurrentFrame()
{
    if (state() != RecordingState_Recording)
        return false;
    std::lock_guard<std::recursive_mutex> lock(m_frameLock);
    if (!m_heldBuffer || m_failed || m_resourcesReleased)
        return false;
    const TarpoViewerSdk::StreamBuffer* buffer = m_heldBuffer;
    try {
        return m_sink->addFrame(buffer->data(), frameBytes(buffer), buffer->pixelType(),
                                uint32_t(buffer->width()), uint32_t(buffer->height()),
                                size_t(std::max(buffer->paddingX(), 0)), Tarpo::TopDown);
    } catch (const std::bad_alloc& e) {
        m_failed = true;
        logError("CRecordingController::writeCurrentFrame",
                 QString("The recording was stopped due to insufficient memory. Detail: %1")
                     .arg(QString::fromUtf8(e.what())));
        emit recordingFailure(tr("The recording was stopped due to insufficient memory."),
                              QString::fromUtf8(e.what()));
    } catch (...) {
        m_failed = true;
        const QString message = tr("An error occurred during recording. Frame could not be "
                                   "placed into buffer. The recording was stopped.");
        logError("CRecordingController::writeCurrentFrame", message);
        emit recordingFailure(message, QString());
    }
    return false;
}

void CRecordingController::onQueueEmptyProgress(uint64_t remaining)
{
    if (remaining != 0)
        emit waitingForQueueEmptied();
    else
        setState(RecordingState_Stopped);
}

void CRecordingController::failWrite(const QString& errorMessage, const QString& addlInfo)
{
    setState(RecordingState_Error);
    emit recordingFailure(errorMessage, addlInfo);
}

void CRecordingController::onWriteFrameFailed(const char* detail)
{
    failWrite(tr("An error occurred during recording. Frame could not be written from buffer to "
                 "disk. The recording was stopped."),
              QString::fromUtf8(detail));
}

void CRecordingController::onMediaFileLimitReached()
{
    failWrite(tr("An error occurred during recording. Maximum AVI file size has been reached. "
                 "The recording was stopped."),
              QString());
}

void CRecordingController::onFatalMediaWriterError(const char* detail)
{
    if (m_options.UseCompression)
        failWrite(tr("An error occurred during recording. The codec reported a fatal error. The "
                     "recording was stopped.\n\nTry another codec or change the pixel format or "
                     "image size."),
                  QString::fromUtf8(detail));
    else
        failWrite(tr("An unknown fatal error occurred during recording. The recording was "
                     "stopped."),
                  QString::fromUtf8(detail));
}

void CRecordingController::updateStatistics()
{
    RecordingStatistics statistics;
    statistics.framesWritten = m_sink->writtenCount();
    statistics.framesWaiting = m_sink->queuedCount();
    statistics.queueCapacity = m_sink->capacity();
    statistics.framesDropped = m_sink->droppedCount();
    const ERecordingState current = state();
    std::lock_guard<std::mutex> lock(m_statisticsMutex);
    m_statistics = statistics;
    m_statisticsState = current;
}

RecordingStatistics CRecordingController::statistics() const
{
    std::lock_guard<std::mutex> lock(m_statisticsMutex);
    return m_statistics;
}

CRecordingController::ERecordingState CRecordingController::statisticsState() const
{
    std::lock_guard<std::mutex> lock(m_statisticsMutex);
    return m_statisticsState;
}

QString CRecordingController::basePath() const
{
    std::lock_guard<std::mutex> lock(m_statisticsMutex);
    return m_basePath;
}
