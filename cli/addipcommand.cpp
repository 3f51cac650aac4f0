#include "addipcommand.h"

#include "listcommand.h"
#include "usageerror.h"

#include "tarpo/tlfactory.h"

#include "genapi/genicamexception.h"

#include <arpa/inet.h>

#include <ostream>

using namespace Tarpo;

namespace {

// Releases the transport layer on every path.
class TransportLayerRef
{
public:
    explicit TransportLayerRef(const char* deviceClass)
        : m_transportLayer(CTlFactory::GetInstance().CreateTl(deviceClass))
    {
    }
    ~TransportLayerRef()
    {
        if (m_transportLayer)
            CTlFactory::GetInstance().ReleaseTl(m_transportLayer);
    }
    TransportLayerRef(const TransportLayerRef&) = delete;
    TransportLayerRef& operator=(const TransportLayerRef&) = delete;
    ITransportLayer* get() const { return m_transportLayer; }

private:
    ITransportLayer* m_transportLayer;
};

} // namespace

int AddIpCommand::run(const std::vector<std::string>& args, std::ostream& out)
{
    const Options options = parseOptions(args, false);
    if (options.operands.size() != 1)
        throw UsageError("add-ip takes one IPv4 address");
    const std::string& address = options.operands.front();
    in_addr parsed{};
    if (inet_pton(AF_INET, address.c_str(), &parsed) != 1)
        throw UsageError("'" + address + "' is not an IPv4 address (a.b.c.d)");

    TransportLayerRef transportLayer("MorvexGigE");
    auto* gigE = dynamic_cast<IGigETransportLayer*>(transportLayer.get());
    if (!gigE)
        throw RUNTIME_EXCEPTION("No GigE transport layer found.");
    CDeviceInfo info = gigE->CreateDeviceInfo();
    info.SetIpAddress(address);
    if (!gigE->AnnounceRemoteDevice(address, &info))
        throw RUNTIME_EXCEPTION("No GigE Vision camera answers at %s", address.c_str());
    out << ListCommand::line(info) << '\n';
    return 0;
}
