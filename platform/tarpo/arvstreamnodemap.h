#pragma once

// The stream grabber's node map ("Stream Parameters"): buffer limits, receive-thread priority,
// the GigE Vision packet handling of Aravis' stream (resend, timeouts, frame retention, socket
// buffer) and the stream's statistics. The values live here while no stream exists and are
// applied to each stream the grabber creates; changes reach a running stream at once.
// Thread-safe: the node map's lock guards every member; the grabber reads the values through
// the accessors below, which take that lock.

#include "tarpo/portnodemap.h"

#include <functional>

typedef struct _ArvStream ArvStream;

namespace Tarpo {

class CArvStreamNodeMap
{
public:
    // `gigE` adds the packet features; `payloadSize` reads the device's current PayloadSize.
    CArvStreamNodeMap(const std::string& serialNumber, bool gigE,
                      std::function<int64_t()> payloadSize);

    GenApi::INodeMap* nodeMap() const { return m_map.nodeMap(); }

    // The stream the statistics come from and the settings go to; null when the grabber closes,
    // which keeps the last statistics readable.
    void setStream(ArvStream* stream);
    // Locks the buffer limits between PrepareGrab and FinishGrab.
    void setGrabPrepared(bool prepared);

    int64_t maxBufferSize() const;
    int64_t maxNumBuffer() const;
    int32_t threadPriority() const;

private:
    struct Statistics
    {
        uint64_t completed = 0;
        uint64_t failed = 0;
        uint64_t underruns = 0;
        uint64_t receivedPackets = 0;
        uint64_t missingPackets = 0;
        uint64_t resendRequests = 0;
        uint64_t resentPackets = 0;
    };

    void addBufferFeatures();
    void addPacketFeatures();
    void addStatisticFeatures();
    // The counters since the last StatisticReset.
    Statistics statistics() const;
    Statistics streamTotals() const;
    void applyPacketSettings() const;

    bool m_gigE;
    std::function<int64_t()> m_payloadSize;

    // All guarded by the node map's lock (m_map.nodeMap()->GetLock()).
    ArvStream* m_stream = nullptr; // borrowed from the grabber while it is open
    bool m_grabPrepared = false;
    int64_t m_maxBufferSize = 64 * 1024 * 1024;
    int64_t m_maxNumBuffer = 16;
    int32_t m_threadPriority = 0;
    bool m_packetResend = true;
    double m_packetRequestRatio = 0.25;
    int64_t m_initialPacketTimeoutUs = 1000;
    int64_t m_packetTimeoutUs = 20000;
    int64_t m_frameRetentionUs = 100000;
    int64_t m_socketBufferSize = 0;
    Statistics m_closedTotals; // the last stream's counters, kept after it closed
    Statistics m_baseline;     // subtracted since the last StatisticReset

    CPortNodeMap m_map; // last: its functions use the members above
};

} // namespace Tarpo
