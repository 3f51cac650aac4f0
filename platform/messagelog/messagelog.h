#pragma once

// Posting to the message log from any layer and any thread. The log's window registers itself
// as the receiver; each message goes to the receiver's slot
// onLogMessage(TarpoViewer::LogLevel, QDateTime, QString, QString, int, int) through a queued
// call, so the row work runs on the receiver's (GUI) thread. Without a receiver, posting does
// nothing and returns 0.
// Thread-safe.

#include "messagelog/loglevel.h"

#include <QDateTime>
#include <QString>

class QObject;

namespace TarpoViewer {

// Returns the new message's id (process-wide, from 1), or 0 when no receiver is registered.
int postLogMessage(LogLevel level, const QString& source, const QString& message,
                   const QDateTime& timestamp = QDateTime());
// Completes the earlier entry `existingId` with this message.
int postLogMessage(LogLevel level, const QString& source, const QString& message, int existingId,
                   const QDateTime& timestamp = QDateTime());

// Makes `receiver` the log's receiver; a later registration replaces it.
void registerLogReceiver(QObject* receiver);
// Forgets `receiver` if it is the registered one. After it returns, no message is posted to it.
void unregisterLogReceiver(QObject* receiver);

} // namespace TarpoViewer
