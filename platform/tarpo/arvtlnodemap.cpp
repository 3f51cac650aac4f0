#include "tarpo/arvtlnodemap.h"

#include "genapi/pointer.h"

#include <arv.h>

#include <mutex>

namespace Tarpo {

namespace {

using Info = CPortNodeMap::FeatureInfo;
using Range = CPortNodeMap::IntRange;

// GigE Vision bootstrap registers.
constexpr uint32_t macHighRegister = 0x0008;
constexpr uint32_t macLowRegister = 0x000C;
constexpr uint32_t currentIpConfigurationRegister = 0x0014;
constexpr uint32_t currentIpAddressRegister = 0x0024;
constexpr uint32_t currentSubnetMaskRegister = 0x0034;
constexpr uint32_t currentDefaultGatewayRegister = 0x0044;
constexpr uint32_t heartbeatTimeoutRegister = 0x0938;

// Bits of the current IP configuration register.
constexpr uint32_t persistentIpBit = 0x1;
constexpr uint32_t dhcpBit = 0x2;
constexpr uint32_t llaBit = 0x4;

std::string errorText(GError* error)
{
    std::string text = error ? error->message : "unknown error";
    g_clear_error(&error);
    return text;
}

} // namespace

CArvTlNodeMap::CArvTlNodeMap(ArvDevice* device, GenApi::INodeMap* deviceNodeMap,
                             const std::string& serialNumber, bool readOnly)
    : m_device(device), m_deviceNodeMap(deviceNodeMap), m_readOnly(readOnly),
      m_gigE(ARV_IS_GV_DEVICE(device)),
      m_map("TransportLayer_" + serialNumber, "Transport layer parameters of the camera")
{
    addTransportFeatures();
    if (m_gigE)
        addNetworkFeatures();
    m_map.build();
}

uint32_t CArvTlNodeMap::readRegister(uint32_t address, const char* what) const
{
    guint32 value = 0;
    GError* error = nullptr;
    if (!arv_device_read_register(m_device, address, &value, &error))
        throw RUNTIME_EXCEPTION("Failed to read the %s: %s", what, errorText(error).c_str());
    return value;
}

void CArvTlNodeMap::writeRegister(uint32_t address, uint32_t value, const char* what) const
{
    GError* error = nullptr;
    if (!arv_device_write_register(m_device, address, value, &error))
        throw RUNTIME_EXCEPTION("Failed to write the %s: %s", what, errorText(error).c_str());
}

int64_t CArvTlNodeMap::readFeature(const char* name) const
{
    std::lock_guard<GenApi::CLock> lock(m_deviceNodeMap->GetLock());
    GError* error = nullptr;
    const int64_t value = arv_device_get_integer_feature_value(m_device, name, &error);
    if (error)
        throw RUNTIME_EXCEPTION("Failed to read %s: %s", name, errorText(error).c_str());
    return value;
}

void CArvTlNodeMap::writeFeature(const char* name, int64_t value) const
{
    std::lock_guard<GenApi::CLock> lock(m_deviceNodeMap->GetLock());
    GError* error = nullptr;
    arv_device_set_integer_feature_value(m_device, name, value, &error);
    if (error)
        throw RUNTIME_EXCEPTION("Failed to write %s: %s", name, errorText(error).c_str());
}

void CArvTlNodeMap::addTransportFeatures()
{
    m_map.beginCategory("TransportLayerControl", "Transport Layer Control",
                        "How images travel from the camera to this computer.");

    // The camera's own lock of its transport parameters, where it has one: the viewer unlocks
    // it to start acquisition and locks it again afterwards.
    GenApi::CIntegerPtr tlParamsLocked(m_deviceNodeMap->GetNode("TLParamsLocked"));
    if (tlParamsLocked) {
        m_map.addInteger(
            {"TLParamsLocked", "TL Params Locked",
             "1 while transport parameters may not change (during acquisition).", GenApi::Expert},
            Range{0, 1, 1}, [tlParamsLocked] { return tlParamsLocked->GetValue(); },
            writable(CPortNodeMap::IntSetter(
                [tlParamsLocked](int64_t value) { tlParamsLocked->SetValue(value); })));
    }
    if (!m_gigE)
        return;

    auto* gvDevice = ARV_GV_DEVICE(m_device);
    m_map.addInteger(
        {"GevSCPSPacketSize", "Packet Size",
         "Size of the stream packets the camera sends, in bytes. Larger packets "
         "need less processor time; every switch on the way must carry them."},
        Range{576, 16384, 4, "B"},
        [this, gvDevice] {
            std::lock_guard<GenApi::CLock> lock(m_deviceNodeMap->GetLock());
            GError* error = nullptr;
            const guint size = arv_gv_device_get_packet_size(gvDevice, &error);
            if (error)
                throw RUNTIME_EXCEPTION("Failed to read the packet size: %s",
                                        errorText(error).c_str());
            return int64_t(size);
        },
        writable(CPortNodeMap::IntSetter([this, gvDevice](int64_t value) {
            std::lock_guard<GenApi::CLock> lock(m_deviceNodeMap->GetLock());
            GError* error = nullptr;
            arv_gv_device_set_packet_size(gvDevice, static_cast<gint>(value), &error);
            if (error)
                throw RUNTIME_EXCEPTION("Failed to set the packet size: %s",
                                        errorText(error).c_str());
        })));
    m_map.addInteger(
        {"GevSCPD", "Inter-Packet Delay",
         "Pause between stream packets, in camera clock ticks; spreads the load "
         "when several cameras share a link.",
         GenApi::Expert},
        Range{0, UINT32_MAX, 1, "ticks"}, [this] { return readFeature("ArvGevSCPD"); },
        writable(
            CPortNodeMap::IntSetter([this](int64_t value) { writeFeature("ArvGevSCPD", value); })));
    m_map.addInteger(
        {"GevHeartbeatTimeout", "Heartbeat Timeout",
         "Time the camera keeps its controller without hearing from it, in ms.", GenApi::Expert},
        Range{500, UINT32_MAX, 1, "ms"},
        [this] { return int64_t(readRegister(heartbeatTimeoutRegister, "heartbeat timeout")); },
        writable(CPortNodeMap::IntSetter([this](int64_t value) {
            writeRegister(heartbeatTimeoutRegister, static_cast<uint32_t>(value),
                          "heartbeat timeout");
        })));
    m_map.addInteger({"GevTimestampTickFrequency", "Timestamp Tick Frequency",
                      "Ticks per second of the camera's time-stamp clock.", GenApi::Expert},
                     Range{0, INT64_MAX, 1, "Hz"},
                     [this] { return readFeature("ArvGevTimestampTickFrequency"); });
    m_map.addInteger({"GevStreamChannelCount", "Stream Channel Count",
                      "Stream channels the camera offers.", GenApi::Expert},
                     Range{0, 512, 1}, [this] { return readFeature("ArvGevStreamChannelCount"); });
}

void CArvTlNodeMap::addNetworkFeatures()
{
    m_map.beginCategory("NetworkConfiguration", "Network Configuration",
                        "The camera's network settings as it reports them.");
    const auto ipRegister = [this](uint32_t address, const char* what) {
        return [this, address, what] { return int64_t(readRegister(address, what)); };
    };
    const Range ipRange{0, UINT32_MAX, 1, "", GenApi::IPV4Address};
    m_map.addInteger({"GevMACAddress", "MAC Address", "The camera's Ethernet address."},
                     Range{0, 0xFFFFFFFFFFFF, 1, "", GenApi::MACAddress}, [this] {
                         const uint64_t high =
                             readRegister(macHighRegister, "MAC address") & 0xFFFF;
                         return int64_t(high << 32 | readRegister(macLowRegister, "MAC address"));
                     });
    m_map.addInteger({"GevCurrentIPAddress", "Current IP Address", "The camera's IPv4 address."},
                     ipRange, ipRegister(currentIpAddressRegister, "current IP address"));
    m_map.addInteger({"GevCurrentSubnetMask", "Current Subnet Mask", "The camera's subnet mask."},
                     ipRange, ipRegister(currentSubnetMaskRegister, "current subnet mask"));
    m_map.addInteger(
        {"GevCurrentDefaultGateway", "Current Default Gateway", "The camera's default gateway."},
        ipRange, ipRegister(currentDefaultGatewayRegister, "default gateway"));
    const auto configurationBit = [this](uint32_t bit) {
        return [this, bit] {
            return (readRegister(currentIpConfigurationRegister, "IP configuration") & bit) != 0;
        };
    };
    m_map.addBoolean({"GevCurrentIPConfigurationPersistentIP", "Persistent IP",
                      "The camera took its address from its persistent configuration.",
                      GenApi::Expert},
                     configurationBit(persistentIpBit));
    m_map.addBoolean({"GevCurrentIPConfigurationDHCP", "DHCP",
                      "The camera took its address from a DHCP server.", GenApi::Expert},
                     configurationBit(dhcpBit));
    m_map.addBoolean({"GevCurrentIPConfigurationLLA", "Link-Local Address",
                      "The camera chose a link-local address (169.254.x.x) by itself.",
                      GenApi::Expert},
                     configurationBit(llaBit));
}

} // namespace Tarpo
