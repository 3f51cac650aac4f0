#include "genapi/portdevice.h"

#include <cstring>
#include <exception>

// GObject boilerplate for our ArvDevice subclass. Aravis' GenICam ports call read_memory /
// write_memory on the document's device; we turn them into IPort calls. No exception may cross
// back into Aravis' C code, so each becomes a GError.

extern "C" {

typedef struct
{
    ArvDevice parent;
    GenApi::IPort* port;
    ArvGc* genicam;
    char* xml;
    size_t xmlSize;
} TarpoPortDevice;

typedef struct
{
    ArvDeviceClass parentClass;
} TarpoPortDeviceClass;

GType tarpo_port_device_get_type(void);
}

G_DEFINE_TYPE(TarpoPortDevice, tarpo_port_device, ARV_TYPE_DEVICE)

#define TARPO_PORT_DEVICE(obj) (G_TYPE_CHECK_INSTANCE_CAST((obj), tarpo_port_device_get_type(), TarpoPortDevice))
#define TARPO_IS_PORT_DEVICE(obj) (G_TYPE_CHECK_INSTANCE_TYPE((obj), tarpo_port_device_get_type()))

namespace {

GQuark portErrorQuark()
{
    return g_quark_from_static_string("tarpo-port-error");
}

template <class F>
gboolean callPort(ArvDevice* device, GError** error, F&& f)
{
    TarpoPortDevice* self = TARPO_PORT_DEVICE(device);
    if (!self->port) {
        g_set_error(error, portErrorQuark(), 1, "port not connected");
        return FALSE;
    }
    try {
        f(self->port);
        return TRUE;
    } catch (const GenICam::GenericException& e) {
        g_set_error(error, portErrorQuark(), 2, "%s", e.GetDescription());
    } catch (const std::exception& e) {
        g_set_error(error, portErrorQuark(), 2, "%s", e.what());
    } catch (...) {
        g_set_error(error, portErrorQuark(), 2, "port failed with an unknown exception");
    }
    return FALSE;
}

gboolean readMemory(ArvDevice* device, guint64 address, guint32 size, void* buffer, GError** error)
{
    return callPort(device, error, [&](GenApi::IPort* port) {
        port->Read(buffer, static_cast<int64_t>(address), size);
    });
}

gboolean writeMemory(ArvDevice* device, guint64 address, guint32 size, void* buffer, GError** error)
{
    return callPort(device, error, [&](GenApi::IPort* port) {
        port->Write(buffer, static_cast<int64_t>(address), size);
    });
}

gboolean readRegister(ArvDevice* device, guint64 address, guint32* value, GError** error)
{
    return readMemory(device, address, sizeof(guint32), value, error);
}

gboolean writeRegister(ArvDevice* device, guint64 address, guint32 value, GError** error)
{
    return writeMemory(device, address, sizeof(guint32), &value, error);
}

const char* getGenicamXml(ArvDevice* device, size_t* size)
{
    TarpoPortDevice* self = TARPO_PORT_DEVICE(device);
    *size = self->xmlSize;
    return self->xml;
}

ArvGc* getGenicam(ArvDevice* device)
{
    return TARPO_PORT_DEVICE(device)->genicam;
}

ArvStream* createStream(ArvDevice*, ArvStreamCallback, void*, GDestroyNotify, GError** error)
{
    g_set_error(error, portErrorQuark(), 3, "an in-process register port has no stream");
    return nullptr;
}

void finalize(GObject* object)
{
    TarpoPortDevice* self = TARPO_PORT_DEVICE(object);
    if (self->genicam)
        g_object_unref(self->genicam);
    g_free(self->xml);
    G_OBJECT_CLASS(tarpo_port_device_parent_class)->finalize(object);
}

} // namespace

static void tarpo_port_device_init(TarpoPortDevice* self)
{
    self->port = nullptr;
    self->genicam = nullptr;
    self->xml = nullptr;
    self->xmlSize = 0;
}

static void tarpo_port_device_class_init(TarpoPortDeviceClass* klass)
{
    GObjectClass* objectClass = G_OBJECT_CLASS(klass);
    ArvDeviceClass* deviceClass = ARV_DEVICE_CLASS(klass);
    objectClass->finalize = finalize;
    deviceClass->create_stream = createStream;
    deviceClass->get_genicam_xml = getGenicamXml;
    deviceClass->get_genicam = getGenicam;
    deviceClass->read_memory = readMemory;
    deviceClass->write_memory = writeMemory;
    deviceClass->read_register = readRegister;
    deviceClass->write_register = writeRegister;
}

namespace GenApi {

ArvDevice* portDeviceNew(const std::string& xml)
{
    auto* self = static_cast<TarpoPortDevice*>(g_object_new(tarpo_port_device_get_type(), nullptr));
    self->xmlSize = xml.size();
    self->xml = static_cast<char*>(g_malloc(xml.size() + 1));
    std::memcpy(self->xml, xml.data(), xml.size());
    self->xml[xml.size()] = '\0';
    self->genicam = arv_gc_new(ARV_DEVICE(self), self->xml, self->xmlSize);
    return ARV_DEVICE(self);
}

ArvGc* portDeviceGenicam(ArvDevice* device)
{
    return TARPO_PORT_DEVICE(device)->genicam;
}

void portDeviceSetPort(ArvDevice* device, IPort* port)
{
    TARPO_PORT_DEVICE(device)->port = port;
}

IPort* portDevicePort(ArvDevice* device)
{
    return TARPO_PORT_DEVICE(device)->port;
}

bool isPortDevice(ArvDevice* device)
{
    return device && TARPO_IS_PORT_DEVICE(device);
}

} // namespace GenApi
