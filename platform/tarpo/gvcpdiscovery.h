#pragma once

// GigE Vision unicast discovery: asks cameras at known IPv4 addresses to identify themselves
// with a GVCP DISCOVERY command on port 3956 and reads their answers. It reaches cameras that
// broadcast discovery misses (another subnet, a camera not listening for broadcasts) and tells
// what Aravis' device list leaves out: the user-defined name, device version and network setup.
// Thread-safe: each call uses its own socket; calls may run on any thread at the same time.

#include <string>
#include <vector>

namespace Tarpo {

// What a camera's DISCOVERY_ACK says of itself (its first 248 bootstrap register bytes).
struct GvcpDeviceIdentity
{
    std::string ipAddress;  // where it answered from, dotted quad
    std::string macAddress; // "00:11:22:aa:bb:cc"
    std::string subnetMask;
    std::string defaultGateway;
    std::string vendorName;
    std::string modelName;
    std::string deviceVersion;
    std::string manufacturerInfo;
    std::string serialNumber; // the MAC address where the camera reports none, as Aravis does
    std::string userDefinedName;
    // "<vendor>-<model>-<serial>", the name Aravis gives the camera
    std::string fullName() const;
};

class CGvcpDiscovery
{
public:
    // Sends one DISCOVERY command to each address and collects answers until every address
    // answered or `timeoutMs` passed. Addresses that are not dotted quads are skipped; the
    // result holds one identity per answering address, in no particular order.
    static std::vector<GvcpDeviceIdentity> probe(const std::vector<std::string>& ipAddresses,
                                                 int timeoutMs);

    // The identity in a DISCOVERY_ACK datagram; false when it is not one.
    static bool parseAck(const unsigned char* datagram, size_t size, GvcpDeviceIdentity& identity);
};

} // namespace Tarpo
