#include "tarpo/arvstreamgrabber.h"

#include "tarpo/arvteardown.h"
#include "tarpo/threadpriority.h"

#include "genapi/pointer.h"
#include "trace/trace.h"

#include <arv.h>

#include <algorithm>
#include <stdexcept>
#include <vector>

namespace Tarpo {

namespace {

const char* const traceCategory = "ArvStreamGrabber";

// Runs on the stream thread when it starts: names it and raises its priority if asked to.
struct StreamThreadSetup
{
    std::string name;
    int32_t priority;
};

void streamCallback(void* userData, ArvStreamCallbackType type, ArvBuffer*)
{
    if (type != ARV_STREAM_CALLBACK_TYPE_INIT)
        return;
    const auto* setup = static_cast<const StreamThreadSetup*>(userData);
    SetCurrentThreadName(setup->name.c_str());
    if (setup->priority > 0)
        SetRTThreadPriority(GetCurrentThreadHandle(), setup->priority);
}

void deleteStreamThreadSetup(void* userData)
{
    delete static_cast<StreamThreadSetup*>(userData);
}

bool hasImage(ArvBuffer* buffer)
{
    if (arv_buffer_get_status(buffer) != ARV_BUFFER_STATUS_SUCCESS ||
        arv_buffer_get_n_parts(buffer) == 0)
        return false;
    switch (arv_buffer_get_payload_type(buffer)) {
    case ARV_BUFFER_PAYLOAD_TYPE_IMAGE:
    case ARV_BUFFER_PAYLOAD_TYPE_EXTENDED_CHUNK_DATA:
    case ARV_BUFFER_PAYLOAD_TYPE_MULTIPART:
        break;
    default:
        return false;
    }
    const ArvBufferPartDataType type = arv_buffer_get_part_data_type(buffer, 0);
    return type != ARV_BUFFER_PART_DATA_TYPE_UNKNOWN &&
           type != ARV_BUFFER_PART_DATA_TYPE_CHUNK_DATA && type != ARV_BUFFER_PART_DATA_TYPE_JPEG &&
           type != ARV_BUFFER_PART_DATA_TYPE_JPEG2000 &&
           type != ARV_BUFFER_PART_DATA_TYPE_DEVICE_SPECIFIC;
}

} // namespace

CArvStreamGrabber::CArvStreamGrabber(const DeviceAccess& access, uint32_t channel)
    : m_access(access), m_channel(channel),
      m_nodeMap(access.serialNumber, access.gigE, [this] { return devicePayloadSize(); })
{
}

CArvStreamGrabber::~CArvStreamGrabber()
{
    try {
        Close();
    } catch (...) {
        // Close only throws for our own usage errors; a destructor reports nothing.
    }
}

int64_t CArvStreamGrabber::devicePayloadSize() const
{
    GenApi::CIntegerPtr payloadSize(m_access.nodeMap->GetNode("PayloadSize"));
    return GenApi::IsReadable(payloadSize) ? payloadSize->GetValue() : 0;
}

bool CArvStreamGrabber::IsOpen() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return static_cast<bool>(m_stream);
}

void CArvStreamGrabber::Open()
{
    if (m_stream)
        return;
    if (!m_access.streamRefusal.empty())
        throw ACCESS_EXCEPTION("%s", m_access.streamRefusal.c_str());

    auto* setup = new StreamThreadSetup{"Rx_" + m_access.serialNumber, m_nodeMap.threadPriority()};
    GError* error = nullptr;
    ArvStream* stream = nullptr;
    {
        // Creating a GigE stream writes the channel's registers through Aravis' GenICam document.
        std::lock_guard<GenApi::CLock> lock(m_access.nodeMap->GetLock());
        if (m_access.gigE && m_channel != 0)
            arv_device_set_integer_feature_value(m_access.device, "ArvGevStreamChannelSelector",
                                                 m_channel, nullptr);
        stream = arv_device_create_stream_full(m_access.device, streamCallback, setup,
                                               deleteStreamThreadSetup, &error);
    }
    if (!stream) {
        const std::string message = error ? error->message : "unknown error";
        g_clear_error(&error);
        throw RUNTIME_EXCEPTION("Failed to open the stream of camera '%s': %s",
                                m_access.serialNumber.c_str(), message.c_str());
    }

    // stream thread -> our result queue, direct: the handler only moves finished buffers.
    m_newBufferHandler = g_signal_connect(stream, "new-buffer", G_CALLBACK(onNewBuffer), this);
    arv_stream_set_emit_signals(stream, TRUE);
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stream.reset(stream);
    }
    m_nodeMap.setStream(stream);
    TARPO_TRACE(traceCategory, "stream of %s open", m_access.serialNumber.c_str());
}

void CArvStreamGrabber::Close()
{
    const bool lost = m_access.lost && m_access.lost();
    closeWithin(lost ? 0 : defaultCloseWaitMs);
}

void CArvStreamGrabber::closeWithin(int waitMs)
{
    if (!m_stream)
        return;
    {
        // From here QueueBuffer refuses: nothing may enter the stream while it is emptied.
        std::lock_guard<std::mutex> lock(m_mutex);
        m_prepared = false;
    }
    ArvStream* stream = m_stream.get();
    // After this returns no new-buffer handler runs any more (Aravis emits under the same lock).
    arv_stream_set_emit_signals(stream, FALSE);
    g_signal_handler_disconnect(stream, m_newBufferHandler);
    m_newBufferHandler = 0;
    // Take every buffer out of the stream before Close returns, so that nothing writes into the
    // caller's memory later. The thread is started again without buffers because the stream's
    // finalisation stops it once more and insists on a running thread.
    arv_stream_stop_thread(stream, TRUE);
    arv_stream_start_thread(stream);
    m_nodeMap.setStream(nullptr);

    GObjectPtr<ArvStream> released;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        released = std::move(m_stream);
        m_records.clear();
        m_prepared = false;
        m_cancelling = false;
    }
    m_results.clear();
    m_nodeMap.setGrabPrepared(false);

    // Finalising the stream stops the camera's stream channel over GVCP, which blocks for 2.5 s
    // when the camera is gone.
    auto holder = std::make_shared<GObjectPtr<ArvStream>>(std::move(released));
    CArvTeardown::run([holder] { holder->reset(); }, waitMs);
}

void CArvStreamGrabber::PrepareGrab()
{
    if (!m_stream)
        throw LOGICAL_ERROR_EXCEPTION("PrepareGrab: the stream grabber of camera '%s' is not open",
                                      m_access.serialNumber.c_str());
    const int64_t payloadSize = devicePayloadSize();
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_payloadSize = payloadSize;
        m_prepared = true;
    }
    m_nodeMap.setGrabPrepared(true);
}

void CArvStreamGrabber::FinishGrab()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_records.finishGrab();
        m_prepared = false;
    }
    m_nodeMap.setGrabPrepared(false);
}

StreamBufferHandle CArvStreamGrabber::RegisterBuffer(void* buffer, size_t bufferSize)
{
    const int64_t maxBufferSize = m_nodeMap.maxBufferSize();
    const int64_t maxNumBuffer = m_nodeMap.maxNumBuffer();
    std::lock_guard<std::mutex> lock(m_mutex);
    BufferRecord& record =
        m_records.add(buffer, bufferSize, m_prepared, maxBufferSize, maxNumBuffer);
    // Zero copy: Aravis writes straight into the caller's memory. The record rides along as the
    // buffer's user data, so the stream thread finds it without a lookup.
    record.buffer.reset(arv_buffer_new_full(bufferSize, buffer, &record, nullptr));
    return record.handle();
}

void* CArvStreamGrabber::DeregisterBuffer(StreamBufferHandle handle)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_records.remove(handle);
}

void CArvStreamGrabber::QueueBuffer(StreamBufferHandle handle, const void* context)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    BufferRecord& record =
        m_records.toQueue(handle, m_stream && m_prepared, m_access.serialNumber, context);
    if (m_cancelling) {
        // CancelGrab is flushing the stream: the buffer would be dropped unseen, so give it back
        // canceled right away.
        record.state = BufferState::Finished;
        m_results.push(record.canceled());
        return;
    }
    record.state = BufferState::Queued;
    // The stream owns one reference while the buffer is queued; ours stays with the record.
    arv_stream_push_buffer(m_stream.get(), GObjectPtr<ArvBuffer>(record.buffer).release());
}

void CArvStreamGrabber::CancelGrab()
{
    if (!m_stream)
        return;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_cancelling = true;
    }
    // Joins the stream thread: a frame being filled comes back ABORTED through new-buffer (and
    // becomes a canceled result there); the other queued buffers are dropped from the stream.
    arv_stream_stop_thread(m_stream.get(), TRUE);
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_records.forEach([this](BufferRecord& record) {
            if (record.state != BufferState::Queued)
                return;
            record.state = BufferState::Finished;
            m_results.push(record.canceled());
        });
        m_cancelling = false;
    }
    arv_stream_start_thread(m_stream.get());
}

bool CArvStreamGrabber::RetrieveResult(GrabResult& result)
{
    if (!m_results.pop(result))
        return false;
    std::lock_guard<std::mutex> lock(m_mutex);
    m_records.retrieved(result.m_handle);
    return true;
}

void CArvStreamGrabber::onNewBuffer(ArvStream* stream, void* self)
{
    // Aravis' stream thread: nothing may be thrown back into its C code.
    try {
        static_cast<CArvStreamGrabber*>(self)->collectResults(stream);
    } catch (const std::exception& e) {
        TARPO_TRACE(traceCategory, "new-buffer handler failed: %s", e.what());
    } catch (...) {
        TARPO_TRACE(traceCategory, "new-buffer handler failed");
    }
}

void CArvStreamGrabber::collectResults(ArvStream* stream)
{
    while (ArvBuffer* popped = arv_stream_try_pop_buffer(stream)) {
        GObjectPtr<ArvBuffer> buffer(popped); // the reference the stream held while queued
        auto* record =
            static_cast<BufferRecord*>(const_cast<void*>(arv_buffer_get_user_data(popped)));
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_records.find(static_cast<RegisteredBuffer*>(record)) != record ||
            record->state != BufferState::Queued)
            continue; // not ours any more (the grabber closed in between)
        record->state = BufferState::Finished;
        m_results.push(makeResult(*record, popped));
    }
}

GrabResult CArvStreamGrabber::makeResult(BufferRecord& record, ArvBuffer* buffer) const
{
    GrabResult result = record.result();
    result.m_frameNumber = arv_buffer_get_frame_id(buffer);
    result.m_timeStamp = arv_buffer_get_timestamp(buffer);

    const ArvBufferStatus status = arv_buffer_get_status(buffer);
    switch (status) {
    case ARV_BUFFER_STATUS_SUCCESS:
        result.m_status = Grabbed;
        break;
    case ARV_BUFFER_STATUS_ABORTED:
        result.m_status = Canceled;
        return result;
    case ARV_BUFFER_STATUS_MISSING_PACKETS:
        result.m_status = Failed;
        result.m_errorCode = GrabError_MissingPackets;
        result.m_errorDescription = "The frame is incomplete: stream packets were lost.";
        break;
    case ARV_BUFFER_STATUS_TIMEOUT:
        result.m_status = Failed;
        result.m_errorCode = GrabError_Timeout;
        result.m_errorDescription =
            "The frame timed out: its last packets did not arrive within the frame retention.";
        break;
    case ARV_BUFFER_STATUS_SIZE_MISMATCH:
        result.m_status = Failed;
        result.m_errorCode = GrabError_BufferTooSmall;
        result.m_errorDescription = GenICam::formatMessage(
            "The frame does not fit into the buffer: %zu bytes for a payload of %lld bytes.",
            record.size, static_cast<long long>(m_payloadSize));
        break;
    case ARV_BUFFER_STATUS_WRONG_PACKET_ID:
        result.m_status = Failed;
        result.m_errorCode = GrabError_WrongPacketId;
        result.m_errorDescription = "The frame holds packets of another frame.";
        break;
    default:
        result.m_status = Failed;
        result.m_errorCode = GrabError_Unknown;
        result.m_errorDescription =
            GenICam::formatMessage("The frame failed with Aravis buffer status %d.", int(status));
        break;
    }

    if (hasImage(buffer)) {
        size_t received = 0;
        arv_buffer_get_data(buffer, &received);
        result.m_payloadSize = static_cast<int64_t>(received);
        gint x = 0, y = 0, width = 0, height = 0, paddingX = 0;
        arv_buffer_get_image_region(buffer, &x, &y, &width, &height);
        arv_buffer_get_image_padding(buffer, &paddingX, nullptr);
        result.m_offsetX = x;
        result.m_offsetY = y;
        result.m_sizeX = width;
        result.m_sizeY = height;
        result.m_paddingX = paddingX;
        result.m_pixelType = static_cast<EPixelType>(arv_buffer_get_image_pixel_format(buffer));
        checkComplete(result, record);
    } else if (result.m_status == Failed) {
        // Aravis reports no size for a failed frame; the expected payload is what was lost,
        // bounded by the buffer so that nobody reads past it.
        result.m_payloadSize = std::min<int64_t>(m_payloadSize, static_cast<int64_t>(record.size));
    }
    return result;
}

void CArvStreamGrabber::checkComplete(GrabResult& result, const BufferRecord& record) const
{
    // Aravis' GigE stream sizes a frame by the buffer it fills, so a frame larger than its
    // buffer comes back "successful" with its end cut off. The frame's own geometry tells.
    int64_t imageSize = m_payloadSize;
    try {
        imageSize = static_cast<int64_t>(ComputeBufferSize(
            result.m_pixelType, static_cast<uint32_t>(std::max(result.m_sizeX, 0)),
            static_cast<uint32_t>(std::max(result.m_sizeY, 0)),
            static_cast<uint32_t>(std::max(result.m_paddingX, 0))));
    } catch (const std::invalid_argument&) {
        // A pixel format without a known size (compressed, vendor-specific): trust PayloadSize.
    }
    if (static_cast<int64_t>(record.size) < imageSize) {
        result.m_status = Failed;
        result.m_errorCode = GrabError_BufferTooSmall;
        result.m_errorDescription = GenICam::formatMessage(
            "The frame does not fit into the buffer: %zu bytes for an image of %lld bytes.",
            record.size, static_cast<long long>(imageSize));
    } else if (result.m_payloadSize < imageSize) {
        result.m_status = Failed;
        result.m_errorCode = GrabError_Truncated;
        result.m_errorDescription = GenICam::formatMessage(
            "The frame is truncated: %lld of %lld bytes arrived.",
            static_cast<long long>(result.m_payloadSize), static_cast<long long>(imageSize));
    }
}

} // namespace Tarpo
