#include "tarpo/arvstreamnodemap.h"

#include <arv.h>

#include <mutex>

namespace Tarpo {

namespace {

using Info = CPortNodeMap::FeatureInfo;
using Range = CPortNodeMap::IntRange;

const char* const lockName = "StreamParamsLocked";

} // namespace

CArvStreamNodeMap::CArvStreamNodeMap(const std::string& serialNumber, bool gigE,
                                     std::function<int64_t()> payloadSize)
    : m_gigE(gigE), m_payloadSize(std::move(payloadSize)),
      m_map("StreamParameters_" + serialNumber, "Stream grabber parameters")
{
    addBufferFeatures();
    if (m_gigE)
        addPacketFeatures();
    addStatisticFeatures();
    m_map.build();
}

void CArvStreamNodeMap::addBufferFeatures()
{
    m_map.beginCategory("BufferHandlingControl", "Buffer Handling",
                        "Limits of the buffers the application registers.");
    m_map.addInteger({lockName, "Stream Parameters Locked",
                      "1 between PrepareGrab and FinishGrab; the buffer limits cannot change then.",
                      GenApi::Expert},
                     Range{0, 1, 1}, [this] { return m_grabPrepared ? 1 : 0; });
    m_map.addInteger(
        {"PayloadSize", "Payload Size", "Bytes one frame of the camera's current settings needs."},
        Range{0, INT64_MAX, 1, "B"}, [this] { return m_payloadSize(); });
    m_map.addInteger(
        {"MaxBufferSize", "Max Buffer Size", "Largest buffer, in bytes, that may be registered.",
         GenApi::Beginner, lockName},
        Range{1, INT64_MAX, 1, "B"}, [this] { return m_maxBufferSize; },
        [this](int64_t value) { m_maxBufferSize = value; });
    m_map.addInteger(
        {"MaxNumBuffer", "Max Num Buffer", "Most buffers that may be registered at the same time.",
         GenApi::Beginner, lockName},
        Range{1, 4096, 1}, [this] { return m_maxNumBuffer; },
        [this](int64_t value) { m_maxNumBuffer = value; });
    m_map.addInteger(
        {"ReceiveThreadPriority", "Receive Thread Priority",
         "Real-time priority of the thread that receives the images (0: normal "
         "scheduling). Takes effect when the stream grabber opens.",
         GenApi::Expert},
        Range{0, 99, 1}, [this] { return int64_t(m_threadPriority); },
        [this](int64_t value) { m_threadPriority = static_cast<int32_t>(value); });
}

void CArvStreamNodeMap::addPacketFeatures()
{
    m_map.beginCategory("PacketHandlingControl", "Packet Handling",
                        "How lost GigE Vision stream packets are asked for again.");
    m_map.addBoolean(
        {"PacketResendEnable", "Packet Resend Enable",
         "Asks the camera to send missing packets again."},
        [this] { return m_packetResend; },
        [this](bool value) {
            m_packetResend = value;
            applyPacketSettings();
        });
    m_map.addFloat(
        {"PacketResendRequestRatio", "Packet Resend Request Ratio",
         "Most resend requests per frame, as a fraction of its packets.", GenApi::Expert},
        0.0, 2.0, "", [this] { return m_packetRequestRatio; },
        [this](double value) {
            m_packetRequestRatio = value;
            applyPacketSettings();
        });
    // A stored setting whose setter also reaches a running stream.
    const auto appliedSetting = [this](int64_t& field) {
        return std::make_pair([&field] { return field; },
                              [this, &field](int64_t value) {
                                  field = value;
                                  applyPacketSettings();
                              });
    };
    auto initial = appliedSetting(m_initialPacketTimeoutUs);
    m_map.addInteger({"InitialPacketTimeout", "Initial Packet Timeout",
                      "Time a packet may arrive late, out of order, before it is asked for again.",
                      GenApi::Expert},
                     Range{0, UINT32_MAX, 1, "us"}, initial.first, initial.second);
    auto packet = appliedSetting(m_packetTimeoutUs);
    m_map.addInteger({"PacketTimeout", "Packet Timeout",
                      "Time to wait for a packet after asking for it again.", GenApi::Expert},
                     Range{0, UINT32_MAX, 1, "us"}, packet.first, packet.second);
    auto retention = appliedSetting(m_frameRetentionUs);
    m_map.addInteger({"FrameRetention", "Frame Retention",
                      "Time an incomplete frame waits for its last packets before it fails."},
                     Range{0, UINT32_MAX, 1, "us"}, retention.first, retention.second);
    auto socket = appliedSetting(m_socketBufferSize);
    m_map.addInteger({"SocketBufferSize", "Socket Buffer Size",
                      "Receive buffer of the stream socket in bytes; 0 makes it one frame.",
                      GenApi::Expert},
                     Range{0, INT32_MAX, 1, "B"}, socket.first, socket.second);
}

void CArvStreamNodeMap::addStatisticFeatures()
{
    m_map.beginCategory("StatisticsControl", "Statistics",
                        "Counters of the stream since it opened or since the last reset.");
    const auto counter = [this](uint64_t Statistics::*field) {
        return [this, field] { return static_cast<int64_t>(statistics().*field); };
    };
    const Range count{0, INT64_MAX, 1};
    m_map.addInteger(
        {"StatisticTotalBufferCount", "Total Buffer Count", "Buffers filled, completely or not."},
        count, [this] {
            const Statistics s = statistics();
            return static_cast<int64_t>(s.completed + s.failed);
        });
    m_map.addInteger({"StatisticFailedBufferCount", "Failed Buffer Count",
                      "Buffers given back incomplete (missing packets, time-out, too small)."},
                     count, counter(&Statistics::failed));
    m_map.addInteger({"StatisticBufferUnderrunCount", "Buffer Underrun Count",
                      "Frames lost because no buffer was queued."},
                     count, counter(&Statistics::underruns));
    if (m_gigE) {
        m_map.addInteger({"StatisticTotalPacketCount", "Total Packet Count",
                          "Stream packets received.", GenApi::Expert},
                         count, counter(&Statistics::receivedPackets));
        m_map.addInteger({"StatisticMissingPacketCount", "Missing Packet Count",
                          "Stream packets that never arrived.", GenApi::Expert},
                         count, counter(&Statistics::missingPackets));
        m_map.addInteger({"StatisticResendRequestCount", "Resend Request Count",
                          "Packets asked for again.", GenApi::Expert},
                         count, counter(&Statistics::resendRequests));
        m_map.addInteger({"StatisticResentPacketCount", "Resent Packet Count",
                          "Packets the camera sent again.", GenApi::Expert},
                         count, counter(&Statistics::resentPackets));
    }
    m_map.addCommand({"StatisticReset", "Statistic Reset", "Sets every counter to 0."},
                     [this] { m_baseline = streamTotals(); });
}

CArvStreamNodeMap::Statistics CArvStreamNodeMap::streamTotals() const
{
    if (!m_stream)
        return m_closedTotals;
    Statistics s;
    guint64 completed = 0, failed = 0, underruns = 0;
    arv_stream_get_statistics(m_stream, &completed, &failed, &underruns);
    s.completed = completed;
    s.failed = failed;
    s.underruns = underruns;
    if (m_gigE) {
        s.receivedPackets = arv_stream_get_info_uint64_by_name(m_stream, "n_received_packets");
        s.missingPackets = arv_stream_get_info_uint64_by_name(m_stream, "n_missing_packets");
        s.resendRequests = arv_stream_get_info_uint64_by_name(m_stream, "n_resend_requests");
        s.resentPackets = arv_stream_get_info_uint64_by_name(m_stream, "n_resent_packets");
    }
    return s;
}

CArvStreamNodeMap::Statistics CArvStreamNodeMap::statistics() const
{
    const Statistics total = streamTotals();
    const auto since = [](uint64_t now, uint64_t base) { return now >= base ? now - base : now; };
    Statistics s;
    s.completed = since(total.completed, m_baseline.completed);
    s.failed = since(total.failed, m_baseline.failed);
    s.underruns = since(total.underruns, m_baseline.underruns);
    s.receivedPackets = since(total.receivedPackets, m_baseline.receivedPackets);
    s.missingPackets = since(total.missingPackets, m_baseline.missingPackets);
    s.resendRequests = since(total.resendRequests, m_baseline.resendRequests);
    s.resentPackets = since(total.resentPackets, m_baseline.resentPackets);
    return s;
}

void CArvStreamNodeMap::applyPacketSettings() const
{
    if (!m_stream || !m_gigE || !ARV_IS_GV_STREAM(m_stream))
        return;
    g_object_set(m_stream, "packet-resend",
                 m_packetResend ? ARV_GV_STREAM_PACKET_RESEND_ALWAYS
                                : ARV_GV_STREAM_PACKET_RESEND_NEVER,
                 "packet-request-ratio", m_packetRequestRatio, "initial-packet-timeout",
                 static_cast<guint>(m_initialPacketTimeoutUs), "packet-timeout",
                 static_cast<guint>(m_packetTimeoutUs), "frame-retention",
                 static_cast<guint>(m_frameRetentionUs), "socket-buffer",
                 m_socketBufferSize == 0 ? ARV_GV_STREAM_SOCKET_BUFFER_AUTO
                                         : ARV_GV_STREAM_SOCKET_BUFFER_FIXED,
                 "socket-buffer-size", static_cast<gint>(m_socketBufferSize), nullptr);
}

void CArvStreamNodeMap::setStream(ArvStream* stream)
{
    std::lock_guard<GenApi::CLock> lock(nodeMap()->GetLock());
    if (m_stream && !stream) {
        m_closedTotals = streamTotals();
    } else if (stream) {
        // A new stream counts from 0.
        m_closedTotals = Statistics();
        m_baseline = Statistics();
    }
    m_stream = stream;
    applyPacketSettings();
}

void CArvStreamNodeMap::setGrabPrepared(bool prepared)
{
    std::lock_guard<GenApi::CLock> lock(nodeMap()->GetLock());
    m_grabPrepared = prepared;
}

int64_t CArvStreamNodeMap::maxBufferSize() const
{
    std::lock_guard<GenApi::CLock> lock(nodeMap()->GetLock());
    return m_maxBufferSize;
}

int64_t CArvStreamNodeMap::maxNumBuffer() const
{
    std::lock_guard<GenApi::CLock> lock(nodeMap()->GetLock());
    return m_maxNumBuffer;
}

int32_t CArvStreamNodeMap::threadPriority() const
{
    std::lock_guard<GenApi::CLock> lock(nodeMap()->GetLock());
    return m_threadPriority;
}

} // namespace Tarpo
