#include "qtbase/sleepinhibitor.h"

#include <QDBusConnection>
#include <QDBusInterface>
#include <QDBusReply>
#include <QDBusUnixFileDescriptor>
#include <QFileInfo>

#include <unistd.h>

namespace {
// Without the socket there is no system bus; asking Qt to connect would only cost time.
const char* const kSystemBusSocket = "/run/dbus/system_bus_socket";
}

SleepInhibitor::SleepInhibitor(const QString& why)
{
    if (!QFileInfo::exists(kSystemBusSocket))
        return;
    QDBusInterface login("org.freedesktop.login1", "/org/freedesktop/login1",
                         "org.freedesktop.login1.Manager", QDBusConnection::systemBus());
    if (!login.isValid())
        return;
    const QDBusReply<QDBusUnixFileDescriptor> reply =
        login.call("Inhibit", "sleep:idle", "Tarpo Viewer", why, "block");
    if (reply.isValid() && reply.value().isValid())
        m_fd = ::dup(reply.value().fileDescriptor());
}

SleepInhibitor::~SleepInhibitor()
{
    if (m_fd >= 0)
        ::close(m_fd);
}
