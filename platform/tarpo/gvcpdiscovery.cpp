#include "tarpo/gvcpdiscovery.h"

#include "trace/trace.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <set>

namespace Tarpo {

namespace {

const char* const traceCategory = "GvcpDiscovery";

constexpr uint16_t gvcpPort = 3956;
constexpr uint8_t gvcpCommandKey = 0x42;
constexpr uint8_t gvcpFlagAckRequired = 0x01;
constexpr uint16_t gvcpDiscoveryCmd = 0x0002;
constexpr uint16_t gvcpDiscoveryAck = 0x0003;
constexpr size_t gvcpHeaderSize = 8;
constexpr size_t discoveryDataSize = 0xF8;

// Offsets into the discovery data (the bootstrap registers of the same addresses).
constexpr size_t macHighOffset = 0x08;
constexpr size_t currentIpOffset = 0x24;
constexpr size_t subnetMaskOffset = 0x34;
constexpr size_t defaultGatewayOffset = 0x44;
constexpr size_t vendorNameOffset = 0x48;
constexpr size_t modelNameOffset = 0x68;
constexpr size_t deviceVersionOffset = 0x88;
constexpr size_t manufacturerInfoOffset = 0xA8;
constexpr size_t serialNumberOffset = 0xD8;
constexpr size_t userDefinedNameOffset = 0xE8;

// Closes the socket on every return path.
class SocketGuard
{
public:
    explicit SocketGuard(int fd) : m_fd(fd) {}
    ~SocketGuard()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    SocketGuard(const SocketGuard&) = delete;
    SocketGuard& operator=(const SocketGuard&) = delete;
    int fd() const { return m_fd; }

private:
    int m_fd;
};

std::string fixedString(const unsigned char* data, size_t size)
{
    const auto* text = reinterpret_cast<const char*>(data);
    return std::string(text, strnlen(text, size));
}

uint32_t bigEndian32(const unsigned char* data)
{
    return uint32_t(data[0]) << 24 | uint32_t(data[1]) << 16 | uint32_t(data[2]) << 8 | data[3];
}

std::string dottedQuad(uint32_t address)
{
    char text[16];
    std::snprintf(text, sizeof text, "%u.%u.%u.%u", address >> 24, (address >> 16) & 0xFF,
                  (address >> 8) & 0xFF, address & 0xFF);
    return text;
}

// Aravis drops the control characters 0x01..0x0f and 0x11..0x1f from device names; our full
// names must match its ids exactly, so we drop the same ones.
std::string withoutControlCharacters(const std::string& name)
{
    std::string out;
    for (const char c : name) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte == 0 || (byte < 0x20 && byte != 0x10))
            continue;
        out += c;
    }
    return out;
}

} // namespace

std::string GvcpDeviceIdentity::fullName() const
{
    return withoutControlCharacters(vendorName + "-" + modelName + "-" + serialNumber);
}

bool CGvcpDiscovery::parseAck(const unsigned char* datagram, size_t size,
                              GvcpDeviceIdentity& identity)
{
    if (size < gvcpHeaderSize + discoveryDataSize)
        return false;
    const uint16_t status = uint16_t(datagram[0] << 8 | datagram[1]);
    const uint16_t command = uint16_t(datagram[2] << 8 | datagram[3]);
    if (status != 0 || command != gvcpDiscoveryAck)
        return false;

    const unsigned char* data = datagram + gvcpHeaderSize;
    char mac[18];
    std::snprintf(mac, sizeof mac, "%02x:%02x:%02x:%02x:%02x:%02x", data[macHighOffset + 2],
                  data[macHighOffset + 3], data[macHighOffset + 4], data[macHighOffset + 5],
                  data[macHighOffset + 6], data[macHighOffset + 7]);
    identity.macAddress = mac;
    identity.ipAddress = dottedQuad(bigEndian32(data + currentIpOffset));
    identity.subnetMask = dottedQuad(bigEndian32(data + subnetMaskOffset));
    identity.defaultGateway = dottedQuad(bigEndian32(data + defaultGatewayOffset));
    identity.vendorName = fixedString(data + vendorNameOffset, 32);
    identity.modelName = fixedString(data + modelNameOffset, 32);
    identity.deviceVersion = fixedString(data + deviceVersionOffset, 32);
    identity.manufacturerInfo = fixedString(data + manufacturerInfoOffset, 48);
    identity.serialNumber = fixedString(data + serialNumberOffset, 16);
    identity.userDefinedName = fixedString(data + userDefinedNameOffset, 16);
    if (identity.serialNumber.empty())
        identity.serialNumber = identity.macAddress;
    return true;
}

std::vector<GvcpDeviceIdentity> CGvcpDiscovery::probe(const std::vector<std::string>& ipAddresses,
                                                      int timeoutMs)
{
    std::vector<GvcpDeviceIdentity> found;
    SocketGuard socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (socket.fd() < 0) {
        TARPO_TRACE(traceCategory, "no UDP socket: %s", strerror(errno));
        return found;
    }

    // One request id for the whole round; answers carry it back.
    static std::atomic<uint16_t> lastRequestId{0};
    const uint16_t requestId = uint16_t(++lastRequestId | 1); // never 0: that id is reserved
    const unsigned char command[gvcpHeaderSize] = {
        gvcpCommandKey,          gvcpFlagAckRequired,      0, gvcpDiscoveryCmd, 0, 0,
        uint8_t(requestId >> 8), uint8_t(requestId & 0xFF)};

    std::set<uint32_t> pending;
    for (const std::string& ip : ipAddresses) {
        sockaddr_in target{};
        target.sin_family = AF_INET;
        target.sin_port = htons(gvcpPort);
        if (inet_pton(AF_INET, ip.c_str(), &target.sin_addr) != 1)
            continue;
        if (::sendto(socket.fd(), command, sizeof command, 0,
                     reinterpret_cast<const sockaddr*>(&target), sizeof target) < 0) {
            TARPO_TRACE(traceCategory, "discovery to %s not sent: %s", ip.c_str(), strerror(errno));
            continue;
        }
        pending.insert(target.sin_addr.s_addr);
    }

    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (!pending.empty()) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0)
            break;
        pollfd fd{socket.fd(), POLLIN, 0};
        if (::poll(&fd, 1, static_cast<int>(left.count())) <= 0)
            break;

        unsigned char datagram[1024];
        sockaddr_in from{};
        socklen_t fromSize = sizeof from;
        const ssize_t size = ::recvfrom(socket.fd(), datagram, sizeof datagram, 0,
                                        reinterpret_cast<sockaddr*>(&from), &fromSize);
        if (size < static_cast<ssize_t>(gvcpHeaderSize))
            continue;
        const uint16_t ackId = uint16_t(datagram[6] << 8 | datagram[7]);
        GvcpDeviceIdentity identity;
        if (ackId != requestId || pending.count(from.sin_addr.s_addr) == 0 ||
            !parseAck(datagram, static_cast<size_t>(size), identity))
            continue;
        pending.erase(from.sin_addr.s_addr);
        // The address we reached it at counts, not the one it believes it has (NAT, routing).
        identity.ipAddress = dottedQuad(ntohl(from.sin_addr.s_addr));
        found.push_back(identity);
    }
    return found;
}

} // namespace Tarpo
