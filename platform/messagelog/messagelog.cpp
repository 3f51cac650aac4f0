#include "messagelog/messagelog.h"

#include "trace/trace.h"

#include <QMetaObject>
#include <QObject>

#include <atomic>
#include <mutex>

namespace TarpoViewer {

namespace {

std::atomic<int> g_lastId{0};
std::mutex g_receiverMutex;    // guards g_receiver: posting must not race with its destruction
QObject* g_receiver = nullptr; // the registered receiver, or null

} // namespace

int postLogMessage(LogLevel level, const QString& source, const QString& message,
                   const QDateTime& timestamp)
{
    return postLogMessage(level, source, message, 0, timestamp);
}

int postLogMessage(LogLevel level, const QString& source, const QString& message, int existingId,
                   const QDateTime& timestamp)
{
    // Developers find the log's lines in the traces too (category tarpoViewer.MessageLog).
    TARPO_TRACE("MessageLog", "%d %s: %s", int(level), qPrintable(source), qPrintable(message));
    std::lock_guard<std::mutex> lock(g_receiverMutex);
    if (!g_receiver)
        return 0;
    const int id = ++g_lastId;
    // any thread -> receiver's (GUI) thread, queued: the row work happens there.
    QMetaObject::invokeMethod(
        g_receiver, "onLogMessage", Qt::QueuedConnection, Q_ARG(TarpoViewer::LogLevel, level),
        Q_ARG(QDateTime, timestamp.isValid() ? timestamp : QDateTime::currentDateTime()),
        Q_ARG(QString, source), Q_ARG(QString, message), Q_ARG(int, id), Q_ARG(int, existingId));
    return id;
}

void registerLogReceiver(QObject* receiver)
{
    qRegisterMetaType<TarpoViewer::LogLevel>("TarpoViewer::LogLevel");
    qRegisterMetaType<time_t>("time_t");
    std::lock_guard<std::mutex> lock(g_receiverMutex);
    g_receiver = receiver;
}

void unregisterLogReceiver(QObject* receiver)
{
    std::lock_guard<std::mutex> lock(g_receiverMutex);
    if (g_receiver == receiver)
        g_receiver = nullptr;
}

} // namespace TarpoViewer
